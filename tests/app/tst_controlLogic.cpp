#include "app/controlLogic.h"

#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"

#include <QtTest>

namespace {
const QByteArray keys
    = "<instrument><heatstat>room</heatstat><TankStat>tank</TankStat><pumpout>pump</pumpout>"
      "<boilerout>boiler</boilerout><boilersense>sense</boilersense></instrument>";

struct fixture {
    fakeHost host; // 10:30, so that a boost lasts
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host.system()};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host.system()};
    controlLogic logic{&store, nullptr, &water, &heat, nullptr};
    QSignalSpy results{&logic, &instrument::resultAvailable};

    fixture() { launch(logic, keys); }
    QTimer *startup() { return logic.findChildren<QTimer *>()[1]; }
    QTimer *runOn() { return logic.findChildren<QTimer *>()[2]; }

    /// The outputs of one sample: '.' none, 'p' pump, 'B' boiler and pump, '?' anything else.
    char sample()
    {
        results.clear();
        logic.takeSample();
        if (results.count() != 2 || results[0][0] != "boiler" || results[1][0] != "pump")
            return '?';
        const int relays = results[0][1].toInt() * 2 + results[1][1].toInt();
        return ".p?B"[relays];
    }
};
}

class tst_controlLogic : public QObject
{
    Q_OBJECT
private slots:
    void demandsHeatWhenAThermostatAndItsTimerDo_data()
    {
        QTest::addColumn<QString>("inputs"); // store keys that are true, timers that are on
        QTest::addColumn<bool>("demand");
        const auto row = [](const char *inputs, bool demand) {
            QTest::newRow(inputs) << QString::fromLatin1(inputs) << demand;
        };
        row("room", false);
        row("room heatTimer", true);
        row("tank waterTimer", true);
        row("room waterTimer", false);
        row("tank heatTimer", false);
        row("heatStatOverride heatTimer", true);
        row("heatStatOverride waterTimer", false);
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

    void sequencesBoilerAndPump_data()
    {
        // '+' demand on, '-' off, 'u' start-up delay over, 'd' run-on over, '=' nothing; a sample after each
        QTest::addColumn<QByteArray>("steps");
        QTest::addColumn<QByteArray>("outputs");
        const auto row = [](const char *name, const char *steps, const char *outputs) {
            QTest::newRow(name) << QByteArray(steps) << QByteArray(outputs);
        };
        row("pump before boiler", "+=u=", "ppBB");
        row("pump runs on", "+u-=d=", "pBpp..");
        row("rises again during run-on", "+u-+u=d=", "pBppBBBB");
        row("run-on ends during the new start-up", "+u-+d=u", "pBppppB");
        row("short demand", "+-=u=d=", "ppppp..");
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
};

QTEST_GUILESS_MAIN(tst_controlLogic)
#include "tst_controlLogic.moc"
