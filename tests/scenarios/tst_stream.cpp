#include "tests/support/scenario.h"
#include "tests/telemetry/rawClient.h"

#include <QProcess>
#include <QtTest>

#include <vector>

namespace {
/// calorix-watch, looking at the running controller.
struct watch {
    QProcess process;
    QByteArray out;

    explicit watch(int port)
    {
        process.start(QStringLiteral(CALORIX_BIN_DIR "/calorix-watch"),
            {QStringLiteral("--csv"), QStringLiteral("127.0.0.1"), QString::number(port)});
    }
    ~watch()
    {
        process.kill();
        process.waitForFinished();
    }
    bool shows(const QByteArray &text)
    {
        return scenario::waitFor([&] { return (out += process.readAllStandardOutput()).contains(text); });
    }
};

/// The port of the scenario's own TCP sampler, by the log.
int streamPort(scenario &run)
{
    if (!run.waitForLog("New connection path created"))
        return 0;
    const QRegularExpression line(QStringLiteral("TCP Sample Server now listening on port (\\d+)"));
    return line.match(QString::fromLocal8Bit(run.log())).captured(1).toInt();
}
}

class tst_stream : public QObject
{
    Q_OBJECT
private slots:
    void theViewerShowsWhatTheHouseDoes()
    {
        scenario run;
        run.configure(scenario::installation());
        QVERIFY(run.start());
        watch viewer(streamPort(run));
        QVERIFY(viewer.shows(",thermostatPower1Sense,false,bool"));
        run.tell("thermostat room on");
        QVERIFY(viewer.shows(",thermostatPower1Sense,true,bool"));
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        QVERIFY(viewer.shows(",card1Power2Demand,true,bool"));
        QCOMPARE(run.values.garbage(), 0);
        QCOMPARE(run.leave(), QByteArray());
    }

    void badClientsDisturbNeitherViewersNorTheHeating()
    {
        scenario run;
        run.configure(scenario::installation());
        QVERIFY(run.start());
        const int port = streamPort(run);
        std::vector<rawClient> sleepers; // never read
        for (int i = 0; i < 20; ++i) {
            sleepers.emplace_back(port);
            QVERIFY(sleepers.back().connected());
            rawClient talker(port);
            talker.say(QByteArray(10000, 'x'));
            talker.reset();
            rawClient closing(port);
            closing.stopSending();
        }
        const int before = run.values.count(QStringLiteral("thermostatPower1Sense"));
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        QVERIFY(scenario::waitFor(
            [&] { return run.values.count(QStringLiteral("thermostatPower1Sense")) > before + 20; }));
        QCOMPARE(run.values.garbage(), 0);
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_stream)
#include "tst_stream.moc"
