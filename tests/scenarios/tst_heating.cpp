#include "tests/support/scenario.h"

#include <QRandomGenerator>
#include <QTest>

namespace {
/// What must be seen of a delay: relays follow their keys with the boards' samples, which a busy machine
/// spreads.
constexpr double share = 0.6;

constexpr int shortestJudgedMs = 500;

double least(int ms)
{
    return ms < shortestJudgedMs ? 0.0 : ms / 1000.0 * share;
}

int count(const QList<scenario::relayChange> &changes, const QByteArray &relay, bool on)
{
    int n = 0;
    for (const scenario::relayChange &c : changes)
        n += c.relay == relay && c.on == on;
    return n;
}

/// The first breach of what must hold whatever happens: no boiler without the pump, and the pump's lead and
/// run-on. Empty when there is none.
QByteArray breach(const QList<scenario::relayChange> &changes, const installationPace &pace)
{
    double pumpOn = -1.0;
    double boilerOff = -1e9;
    bool boiler = false;
    for (const scenario::relayChange &c : changes) {
        const QByteArray at = " at " + QByteArray::number(c.at, 'f', 3);
        if (c.relay == "pump" && c.on)
            pumpOn = c.at;
        if (c.relay == "pump" && !c.on && boiler)
            return "the pump stops under a burning boiler" + at;
        if (c.relay == "pump" && !c.on && c.at - boilerOff < least(pace.shutdown))
            return "the run-on is cut short" + at;
        if (c.relay == "pump" && !c.on)
            pumpOn = -1.0;
        if (c.relay == "boiler" && c.on && (pumpOn < 0.0 || c.at - pumpOn < least(pace.startup)))
            return "the boiler starts without the pump's lead" + at;
        if (c.relay == "boiler")
            boiler = c.on;
        if (c.relay == "boiler" && !c.on)
            boilerOff = c.at;
    }
    return {};
}

QDateTime clockAt(int hour, int minute)
{
    return QDateTime(QDate(2026, 1, 15), QTime(hour, minute), Qt::UTC);
}
}

class tst_heating : public QObject
{
    Q_OBJECT
private:
    static void finish(scenario &run, const installationPace &pace = {})
    {
        QCOMPARE(breach(run.relayChanges(), pace), QByteArray());
        QCOMPARE(run.leave(), QByteArray());
    }

private slots:
    void leadsWithThePumpAndRunsOn()
    {
        scenario run;
        run.configure(scenario::installation());
        QVERIFY(run.start());
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=0 full=0"));
        run.tell("thermostat room off");
        QVERIFY(run.waitForRelays("pump=1 boiler=0"));
        QVERIFY(run.waitForRelays("pump=0 boiler=0"));
        QVERIFY(scenario::waitFor(
            [&] { return !run.values.last(QStringLiteral("card1Power1Control")).toBool(); }));
        finish(run); // judges both delays
    }

    void obeysOverrideAndBoost()
    {
        scenario run;
        run.setTimers(false, false);
        run.configure(scenario::installation());
        QVERIFY(run.start());
        run.tell("thermostat tank on");
        // Without its timer the override is taken back by itself and moves nothing.
        QCOMPARE(run.puppet("click Override Thermostat"), QByteArray("ok"));
        const auto ticked = [&] { return run.puppet("dump").contains("\"Override Thermostat\" checked"); };
        QVERIFY(scenario::waitFor(
            [&] { return run.values.all(QStringLiteral("heatStatOverride")).contains(true); }));
        QVERIFY(scenario::waitFor([&] { return !ticked(); }));
        QCOMPARE(count(run.relayChanges(), "pump", true), 0);

        QCOMPARE(run.puppet("click Heating/Boost"), QByteArray("ok"));
        QVERIFY(scenario::waitFor([&] { return run.puppet("dump").contains("\"Boost until"); }));
        QCOMPARE(run.puppet("click Heating/Advance"), QByteArray("ok")); // Kept: does nothing
        QCOMPARE(run.puppet("click Override Thermostat"), QByteArray("ok"));
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=0 full=0"));
        QCOMPARE(run.puppet("click Hot Water/Boost"), QByteArray("ok"));
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=1 full=0"));
        for (int press = 2; press <= 4; ++press) { // the fourth press cancels
            QCOMPARE(run.puppet("click Heating/Boost"), QByteArray("ok"));
        }
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=1 full=1"));
        for (int press = 2; press <= 4; ++press)
            QCOMPARE(run.puppet("click Hot Water/Boost"), QByteArray("ok"));
        QVERIFY(run.waitForRelays("pump=0 boiler=0 mid=0 full=0"));
        finish(run);
    }

    void keepsTheBoilerSafeThroughAThousandChanges()
    {
        const installationPace pace{50, 40, 400, 400, 1000};
        scenario run;
        run.write(QStringLiteral("config/heatTimer.xml"),
            "<heatingtimer><period><starthour>6</starthour><duration>120</duration></period></heatingtimer>");
        run.write(QStringLiteral("config/waterTimer.xml"),
            "<heatingtimer><period><starthour>7</starthour><duration>120</duration></period></heatingtimer>");
        run.setWallClock(clockAt(7, 30));
        run.configure(scenario::installation(pace));
        QVERIFY(run.start());

        QRandomGenerator dice(20260115);
        const QString sample = QStringLiteral("thermostatPower1Control");
        for (int change = 0; change < 1000; ++change) {
            const int what = dice.bounded(8);
            if (what < 4) {
                run.setWallClock(clockAt(5 + what, 30)); // none, heating, both, water
            } else {
                const QByteArray which = what < 6 ? "room" : "tank";
                run.tell("thermostat " + which + (dice.bounded(4) ? " on" : " off"));
            }
            if (dice.bounded(4)) // changes come in bursts, and now and then there is time for all to settle
                continue;
            const int until = run.values.count(sample) + (dice.bounded(16) ? 1 + dice.bounded(2) : 25);
            QVERIFY(scenario::waitFor([&] { return run.values.count(sample) >= until; }));
        }
        run.setWallClock(clockAt(6, 30));
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        run.tell("thermostat room off");
        QVERIFY(run.waitForRelays("pump=0 boiler=0"));
        QVERIFY2(
            count(run.relayChanges(), "boiler", true) > 5, "the script is no test when nothing ever burns");
        finish(run, pace);
    }
};

QTEST_GUILESS_MAIN(tst_heating)
#include "tst_heating.moc"
