#include "tests/support/scenario.h"

#include <QTest>

namespace {
/// London time, without need of the zone files: summer time from the last Sunday of March to that of October.
const char london[] = "GMT0BST,M3.5.0/1,M10.5.0";
/// Heating from 06:30 to 08:00 and from 01:15 to 01:45 local time; hot water never.
const char programme[] = "<heatingtimer><period><starthour>6</starthour><startminute>30</"
                         "startminute><duration>90</duration></period>"
                         "<period><starthour>1</starthour><startminute>15</startminute><duration>30</"
                         "duration></period></heatingtimer>";

QDateTime utc(const char *text)
{
    QDateTime t = QDateTime::fromString(QLatin1String(text), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    t.setTimeSpec(Qt::UTC);
    return t;
}
}

/// The wall clock may step, by hand or by summer time: periods follow it, delays and sampling do not.
class tst_clock : public QObject
{
    Q_OBJECT
private slots:
    void followsTheLocalTime()
    {
        struct step {
            const char *at; // UTC
            bool heats;
        };
        const step steps[] = {
            {"2026-01-15 07:00:00", true}, {"2026-01-15 12:00:00", false},  // hours ahead
            {"2026-01-15 06:45:00", true},                                  // and back
            {"2025-01-15 05:45:00", false},                                 // a year back
            {"2026-03-29 00:30:00", false}, {"2026-03-29 01:30:00", false}, // 01:15 is left out in spring
            {"2026-03-29 06:00:00", true},                                  // 07:00 summer time
            {"2026-10-25 00:30:00", true},                                  // 01:30 for the first time
            {"2026-10-25 00:50:00", false}, {"2026-10-25 01:30:00", true},  // and for the second
            {"2026-10-25 06:00:00", false}, {"2026-10-25 06:31:00", true},
            {"2026-01-15 06:29:56", false}, // goes over by itself, below
        };
        scenario run;
        run.setVariable(QStringLiteral("TZ"), QLatin1String(london));
        run.write(QStringLiteral("config/heatTimer.xml"), programme);
        run.setWallClock(utc("2026-01-15 12:00:00"));
        run.configure(scenario::installation({50, 50, 100, 100, 1000}));
        QVERIFY(run.start());
        run.tell("thermostat room on");
        const QString key = QStringLiteral("heatTimerOn");
        for (const step &s : steps) {
            run.setWallClock(utc(s.at));
            QVERIFY2(run.waitForRelays(s.heats ? "pump=1 boiler=1" : "pump=0 boiler=0"), s.at);
            QVERIFY2(scenario::waitFor([&] { return run.values.last(key) == QVariant(s.heats); }), s.at);
        }
        QVERIFY2(run.waitForRelays("pump=1 boiler=1"), "06:30 comes");
        QCOMPARE(run.leave(), QByteArray());
    }

    void keepsItsDelaysAndPeriodsThroughASteppedClock()
    {
        scenario run;
        run.setWallClock(utc("2026-01-15 12:00:00"));
        run.configure(scenario::installation({50, 50, 4000, 4000, 1000}));
        QVERIFY(run.start());
        run.tell("thermostat tank on");
        QVERIFY(run.waitForRelays("pump=1 boiler=0"));
        run.setWallClock(utc("2026-01-15 17:00:00")); // five hours into the pump's lead of 4 s
        const QString sample = QStringLiteral("card1Power1Control");
        const int before = run.values.count(sample);
        QVERIFY(scenario::waitFor([&] { return run.values.count(sample) > before + 5; }));
        QVERIFY(run.tell("relays").startsWith("pump=1 boiler=0"));
        QVERIFY(run.waitForRelays("pump=1 boiler=1"));
        run.setWallClock(utc("2026-01-15 09:00:00"));
        const int again = run.values.count(sample);
        QVERIFY(scenario::waitFor([&] { return run.values.count(sample) > again + 5; }));
        run.tell("thermostat tank off");
        QVERIFY(run.waitForRelays("pump=1 boiler=0"));
        run.setWallClock(utc("2026-01-16 09:00:00"));
        QVERIFY(run.waitForRelays("pump=0 boiler=0"));
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_clock)
#include "tst_clock.moc"
