#include "tests/support/scenario.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {
/// What must be seen of a delay: relays follow their keys with the boards' samples, which a busy machine
/// spreads.
constexpr double share = 0.6;

constexpr int shortestJudgedMs = 500;

double least(int ms)
{
    return ms < shortestJudgedMs ? 0.0 : ms / 1000.0 * share;
}

/// The time of the latest change of a relay to \a on; -1 when there is none.
double lastChange(const QList<scenario::relayChange> &changes, const QByteArray &relay, bool on)
{
    double at = -1.0;
    for (const scenario::relayChange &c : changes) {
        if (c.relay == relay && c.on == on)
            at = c.at;
    }
    return at;
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
        const installationPace pace;
        scenario run;
        run.configure(scenario::installation(pace));
        QVERIFY(run.start());
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=0 full=0"));
        const double pumpOn = lastChange(run.relayChanges(), "pump", true);
        const double boilerOn = lastChange(run.relayChanges(), "boiler", true);
        QVERIFY2(boilerOn - pumpOn > least(pace.startup), "the pump leads");
        run.tell("thermostat room off");
        QVERIFY(run.waitForRelays("pump=1 boiler=0"));
        QVERIFY(run.waitForRelays("pump=0 boiler=0"));
        const double boilerOff = lastChange(run.relayChanges(), "boiler", false);
        const double pumpOff = lastChange(run.relayChanges(), "pump", false);
        QVERIFY(pumpOff - boilerOff > least(pace.shutdown));
        QVERIFY(scenario::waitFor(
            [&] { return !run.values.last(QStringLiteral("card1Power1Control")).toBool(); }));
        finish(run);
    }

    void takesUpADemandThatReturnsInTheRunOn()
    {
        const installationPace pace{50, 50, 1000, 8000, 1000};
        scenario run;
        run.configure(scenario::installation(pace));
        QVERIFY(run.start());
        run.tell("thermostat tank on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1 mid=1 full=1"));
        run.tell("thermostat tank off");
        QVERIFY(run.waitForRelays("pump=1 boiler=0"));
        const double boilerOff = lastChange(run.relayChanges(), "boiler", false);
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        QCOMPARE(count(run.relayChanges(), "pump", false), 0);
        QVERIFY2(lastChange(run.relayChanges(), "boiler", true) - boilerOff > least(pace.startup),
            "the lead is given again");
        finish(run, pace);
    }

    void neverFiresForADemandShorterThanTheLead()
    {
        const installationPace pace{50, 50, 3000, 300, 1000};
        scenario run;
        run.configure(scenario::installation(pace));
        QVERIFY(run.start());
        run.tell("thermostat room on");
        QVERIFY(run.waitForRelays("pump=1"));
        run.tell("thermostat room off");
        QVERIFY(run.waitForRelays("pump=0"));
        const QList<scenario::relayChange> changes = run.relayChanges();
        QCOMPARE(count(changes, "boiler", true), 0);
        // The lead outlasts the run-on here; the pump waits for both.
        QVERIFY(lastChange(changes, "pump", false) - lastChange(changes, "pump", true) > least(pace.startup));
        QCOMPARE(run.leave(), QByteArray());
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
