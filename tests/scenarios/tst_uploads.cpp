#include "tests/support/scenario.h"
#include "tests/telemetry/thingsboardRig.h"

#include <QtTest>

#include <memory>

namespace {
constexpr int factor = 20; // the controller's clocks run so much faster: a send tick takes 1.5 s
constexpr int patienceMs = 40000;
constexpr int fewMessages = 4;

/// The controller with nothing but its timers and an uploader, which sends a message every 1.5 s.
struct uploads {
    scenario run;
    std::unique_ptr<thingsboardRig> server = std::make_unique<thingsboardRig>();
    QByteArrayList earlier; // what servers before this one have accepted
    const int port = server->port;

    uploads()
    {
        run.configure("<sampler type='thingsboardjson'><uri>" + server->address().toLatin1()
            + "/api/v1/$APIKEY/telemetry</uri><apikey>tok</apikey><period>30000</period>"
              "<key>heatTimerOn</key><key>networkMessagesRemaining</key></sampler>");
        run.write(QStringLiteral("clock"), "+0 x" + QByteArray::number(factor) + '\n');
        run.setVariable(QStringLiteral("FAKETIME_TIMESTAMP_FILE"), run.path(QStringLiteral("clock")));
    }
    void stopServer()
    {
        earlier += server->bodies();
        server.reset();
    }
    void startServer() { server = std::make_unique<thingsboardRig>(QStringList(), port); }
    void route(const QByteArray &state) const { run.write(QStringLiteral("machine/route"), state); }

    /// What the uploader has handed to the queue, by its log.
    QByteArrayList queued()
    {
        const QByteArray mark = "Upload Data = ";
        QByteArrayList all;
        for (const QByteArray &line : run.log().split('\n')) {
            if (const int at = line.indexOf(mark); at >= 0)
                all.append(line.mid(at + mark.size()));
        }
        std::sort(all.begin(), all.end());
        return all;
    }
    QByteArrayList delivered() const
    {
        QByteArrayList all = earlier + (server ? server->bodies() : QByteArrayList());
        std::sort(all.begin(), all.end());
        return all;
    }
    int remaining() { return run.values.last(QStringLiteral("networkMessagesRemaining")).toInt(); }
    bool piledUp()
    {
        return scenario::waitFor([this] { return remaining() >= fewMessages; }, patienceMs);
    }
    /// All that is queued has arrived, and the controller knows it. New messages keep coming meanwhile.
    bool drained()
    {
        return scenario::waitFor(
            [this] {
                const QByteArrayList asked = queued();
                return remaining() == 0 && asked.size() >= fewMessages && asked == delivered();
            },
            patienceMs);
    }
};
}

class tst_uploads : public QObject
{
    Q_OBJECT
private:
    static void finish(uploads &u)
    {
        QVERIFY2(u.drained(), u.queued().join('\n') + "\n--- but delivered:\n" + u.delivered().join('\n'));
        QCOMPARE(u.run.leave(), 0);
        const int numbers = u.queued().size();
        for (int i = 0; i < numbers; ++i)
            QVERIFY(!QFile::exists(QStringLiteral("/tmp/data%1.json").arg(i)));
        QCOMPARE(u.run.complaints(), QByteArray());
    }

private slots:
    void deliversEveryMessageAsItWasBuilt()
    {
        uploads u;
        QVERIFY(u.run.start());
        finish(u);
        const QRegularExpression form(QStringLiteral(
            "^\\{\"ts\":\\d{13},\"values\":\\{\"heatTimerOn\":1,\"networkMessagesRemaining\":\\d+\\}\\}$"));
        QVERIFY2(form.match(u.delivered().last()).hasMatch(), u.delivered().last());
    }

    void nothingIsLostWhileTheServerIsAway()
    {
        uploads u;
        u.stopServer();
        QVERIFY(u.run.start());
        QVERIFY(u.piledUp());
        QVERIFY(u.run.log().contains("completed with return code 7.")); // curl: could not connect
        u.startServer();
        finish(u);
    }

    void nothingIsLostWhenTheServerHangsUpOrHangs_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QByteArray>("logLine");
        QTest::newRow("hangs up") << QByteArray("answer close") << QByteArray("return code 52.");
        QTest::newRow("hangs") << QByteArray("answer hang")
                               << QByteArray("Request has been running for over 180 seconds");
    }
    void nothingIsLostWhenTheServerHangsUpOrHangs()
    {
        QFETCH(QByteArray, answer);
        QFETCH(QByteArray, logLine);
        uploads u;
        QCOMPARE(u.server->tell(answer), QByteArray("ok"));
        QVERIFY(u.run.start());
        QVERIFY(u.run.waitForLog(logLine, patienceMs));
        QVERIFY(u.piledUp());
        QCOMPARE(u.server->tell("count"), QByteArray("0"));
        QCOMPARE(u.server->tell("answer 200"), QByteArray("ok"));
        finish(u);
    }

    void nothingIsSentOrLostWithoutARoute_data()
    {
        QTest::addColumn<QByteArray>("state");
        QTest::newRow("no default route") << QByteArray("absent");
        QTest::newRow("ip fails from the start") << QByteArray("failing");
    }
    void nothingIsSentOrLostWithoutARoute()
    {
        QFETCH(QByteArray, state);
        uploads u;
        u.route(state);
        QVERIFY(u.run.start());
        QVERIFY(u.piledUp());
        QCOMPARE(u.server->requests(), QByteArray());
        u.route("present");
        finish(u);
    }

    void aFailingIpChangesNothing()
    {
        uploads u;
        QVERIFY(u.run.start());
        QVERIFY(u.drained());
        u.route("failing");
        const int before = u.server->bodies().size();
        QVERIFY(scenario::waitFor([&] { return u.server->bodies().size() > before + 2; }, patienceMs));
        finish(u);
    }
};

QTEST_GUILESS_MAIN(tst_uploads)
#include "tst_uploads.moc"
