#include "tests/support/scenario.h"
#include "tests/telemetry/thingsboardRig.h"

#include <QFile>
#include <QTest>

#include <memory>

namespace {
constexpr int factor = 20; // the controller's clocks run so much faster: a send tick takes 1.5 s
constexpr int patienceMs = 60000;
constexpr int messages = 5;
const QString sense = QStringLiteral("thermostatPower1Sense");

/// The controller with one switch board and an uploader that sends what the room thermostat does.
struct uploads {
    scenario run;
    std::unique_ptr<thingsboardRig> server = std::make_unique<thingsboardRig>(scenario::freePort());
    QByteArrayList earlier; // what servers before this one have accepted
    const int port = server->port;

    uploads()
    {
        run.configure("<interface type='i2c'><name>bus</name><device>/dev/i2c-2</device></interface>"
                      "<instrument type='boilerswitchboard'><dataprepend>thermostat</dataprepend>"
                      "<interface>bus</interface><period>800</period></instrument>"
                      "<sampler type='thingsboardjson'><uri>"
            + server->address().toLatin1()
            + "/api/v1/$APIKEY/telemetry</uri><apikey>tok</apikey><period>3600000</period>"
              "<key triggerVariable='thermostatPower1Sense'>thermostatPower1Sense</key></sampler>");
        run.write(QStringLiteral("clock"), "+0 x" + QByteArray::number(factor) + '\n');
        run.setVariable(QStringLiteral("FAKETIME_TIMESTAMP_FILE"), run.path(QStringLiteral("clock")));
    }
    bool start()
    {
        return run.start()
            && scenario::waitFor([this] { return run.values.last(sense) == QVariant(false); }, patienceMs);
    }
    /// The thermostat goes on and off; each change is a message.
    bool makeMessages()
    {
        for (int i = 1; i <= messages; ++i) {
            run.tell(i % 2 == 1 ? "thermostat room on" : "thermostat room off");
            if (!scenario::waitFor([&] { return queued().size() == i; }, patienceMs))
                return false;
        }
        return true;
    }
    void stopServer()
    {
        earlier += server->bodies();
        server.reset();
    }
    void startServer() { server = std::make_unique<thingsboardRig>(port); }
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
    /// Nothing has been delivered, and the controller knows it.
    bool allWait()
    {
        return scenario::waitFor([this] { return remaining() == messages; }, patienceMs)
            && delivered().isEmpty();
    }
    /// All have arrived, each once and as it was built, and the controller knows it.
    bool drained()
    {
        return scenario::waitFor([this] { return remaining() == 0 && delivered() == queued(); }, patienceMs);
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
        QCOMPARE(u.run.leave(), QByteArray());
        for (int i = 0; i < messages; ++i)
            QVERIFY(!QFile::exists(QStringLiteral("/tmp/data%1.json").arg(i)));
    }

private slots:
    void nothingIsLostWhileTheServerIsAway()
    {
        uploads u;
        u.stopServer();
        QVERIFY(u.start());
        QVERIFY(u.makeMessages());
        QVERIFY(u.allWait());
        QVERIFY(u.run.waitForLog("completed with return code 7.")); // curl: could not connect
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
        QVERIFY(u.start());
        QVERIFY(u.makeMessages());
        QVERIFY(u.run.waitForLog(logLine, patienceMs));
        QVERIFY(u.allWait());
        QCOMPARE(u.server->tell("count"), QByteArray("0"));
        QCOMPARE(u.server->tell("answer 200"), QByteArray("ok"));
        finish(u);
    }

    void nothingIsSentOrLostWithoutARoute()
    {
        uploads u;
        u.route("failing"); // from the start
        QVERIFY(u.start());
        QVERIFY(u.makeMessages());
        QVERIFY(u.allWait());
        QCOMPARE(u.server->requests(), QByteArray());
        u.route("present");
        finish(u);
    }
};

QTEST_GUILESS_MAIN(tst_uploads)
#include "tst_uploads.moc"
