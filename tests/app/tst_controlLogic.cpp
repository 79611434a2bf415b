#include "app/controlLogic.h"

#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"

#include <QtTest>

namespace {
const QByteArray keys = "<heatstat>room</heatstat><TankStat>tank</TankStat><pumpout>pump</pumpout>"
                        "<boilerout>boiler</boilerout><boilersense>sense</boilersense>";

struct fixture {
    fakeHost host; // 10:30, so that a boost lasts
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host.system()};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host.system()};
    controlLogic logic{&store, nullptr, &water, &heat, nullptr};
    QSignalSpy results{&logic, &instrument::resultAvailable};

    explicit fixture(const QByteArray &children = keys)
    {
        launch(logic, "<instrument>" + children + "</instrument>");
    }
    QTimer *sampling() { return logic.findChildren<QTimer *>()[0]; }
    QTimer *startup() { return logic.findChildren<QTimer *>()[1]; }
    QTimer *runOn() { return logic.findChildren<QTimer *>()[2]; }

    /// The outputs of one sample: '.' none, 'p' pump, 'B' boiler and pump, '?' anything else.
    char sample()
    {
        results.clear();
        logic.takeSample();
        if (results.count() != 2 || results[0][0] != "boiler" || results[1][0] != "pump")
            return '?';
        const bool boiler = results[0][1].toBool();
        const bool pump = results[1][1].toBool();
        if (boiler)
            return pump ? 'B' : '?';
        return pump ? 'p' : '.';
    }
};
}

class tst_controlLogic : public QObject
{
    Q_OBJECT
private slots:
    void readsItsConfiguration()
    {
        fixture defaults{QByteArray()};
        QVERIFY(defaults.sampling()->isActive());
        QCOMPARE(defaults.sampling()->interval(), 1000);
        QCOMPARE(defaults.startup()->interval(), 10000);
        QCOMPARE(defaults.runOn()->interval(), 60000);
        QVERIFY(!defaults.startup()->isActive() && !defaults.runOn()->isActive());
        expire(defaults.sampling());
        QCOMPARE(defaults.results[0], (QVariantList{"NoBoiler", false}));
        QCOMPARE(defaults.results[1], (QVariantList{"NoPump", false}));

        fixture given("<dataprepend>x</dataprepend><Period>500</Period><startupperiod>5</startupperiod>"
                      "<shutdownperiod>7</shutdownperiod>");
        QCOMPARE(given.sampling()->interval(), 500);
        QCOMPARE(given.startup()->interval(), 5);
        QCOMPARE(given.runOn()->interval(), 7);
        given.logic.takeSample();
        QCOMPARE(given.results[0][0].toString(), QStringLiteral("xNoBoiler"));
    }

    void demandsHeatWhenAThermostatAndItsTimerDo_data()
    {
        QTest::addColumn<QString>("inputs"); // store keys that are true, timers that are on
        QTest::addColumn<bool>("demand");
        const auto row = [](const char *inputs, bool demand) {
            QTest::newRow(inputs) << QString::fromLatin1(inputs) << demand;
        };
        row("nothing", false);
        row("room", false);
        row("tank", false);
        row("heatStatOverride", false);
        row("heatTimer", false);
        row("waterTimer", false);
        row("heatTimer waterTimer", false);
        row("room heatTimer", true);
        row("tank waterTimer", true);
        row("room waterTimer", false);
        row("tank heatTimer", false);
        row("heatStatOverride heatTimer", true);
        row("heatStatOverride waterTimer", false);
        row("heatStatOverride tank heatTimer", true);
        row("room tank heatTimer waterTimer", true);
        row("sense heatTimer waterTimer", false);
    }
    void demandsHeatWhenAThermostatAndItsTimerDo()
    {
        QFETCH(QString, inputs);
        fixture f;
        const QStringList on = inputs.split(' ');
        for (const char *key : {"room", "tank", "sense", "heatStatOverride"})
            f.store.store(key, on.contains(key));
        if (on.contains("heatTimer"))
            f.heat.boost();
        if (on.contains("waterTimer"))
            f.water.boost();
        QTEST(f.sample() == 'p', "demand");
    }

    void missingThermostatsDemandNothing()
    {
        fixture f;
        f.heat.boost();
        f.water.boost();
        QCOMPARE(f.sample(), '.');
    }

    void sequencesBoilerAndPump_data()
    {
        // '+' demand on, '-' off, 'u' start-up delay over, 'd' run-on over, '=' nothing; a sample after each
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<QByteArray>("outputs");
        const auto row = [](const char *name, const char *steps, const char *outputs) {
            QTest::newRow(name) << QByteArray(steps) << QByteArray(outputs);
        };
        row("no demand at start", "==", "..");
        row("pump before boiler", "+=u=", "ppBB");
        row("pump runs on", "+u-=d=", "pBpp..");
        row("rises again during run-on", "+u-+u=d=", "pBppBBBB");
        row("run-on ends during the new start-up", "+u-+d=u", "pBppppB");
        row("each fall runs on again", "+u-+ud-=d", "pBppBBpp.");
        row("short demand", "+-=u=d=", "ppppp..");
        row("short demand, run-on ends first", "+-d=u", "pppp.");
        row("two short demands", "+-+-u=d", "pppppp.");
    }
    void sequencesBoilerAndPump()
    {
        QFETCH(QByteArray, steps);
        fixture f;
        f.heat.boost();
        QByteArray outputs;
        for (const char step : qAsConst(steps)) {
            if (step == '+' || step == '-')
                f.store.store("room", step == '+');
            else if (step == 'u')
                expire(f.startup());
            else if (step == 'd')
                expire(f.runOn());
            outputs += f.sample();
        }
        QTEST(outputs, "outputs");
    }

    void delaysOfZeroLastOneSample()
    {
        fixture f(keys + "<startupperiod>0</startupperiod><shutdownperiod>0</shutdownperiod>");
        f.heat.boost();
        f.store.store("room", true);
        QCOMPARE(f.sample(), 'p');
        expire(f.startup());
        QCOMPARE(f.sample(), 'B');
        f.store.store("room", false);
        QCOMPARE(f.sample(), 'p');
        expire(f.runOn());
        QCOMPARE(f.sample(), '.');
    }
};

QTEST_GUILESS_MAIN(tst_controlLogic)
#include "tst_controlLogic.moc"
