#include "app/controlLogic.h"

#include "app/timer.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/results.h"

#include <QTest>
#include <QTimer>

namespace {
struct fixture {
    fakeHost host; // 10:30, so that a boost lasts
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host};
    controlLogic logic{&store, nullptr, &water, &heat, nullptr};
    results published{logic};

    fixture()
    {
        launch(logic,
            "<instrument><heatstat>room</heatstat><TankStat>tank</TankStat><pumpout>pump</pumpout>"
            "<boilerout>boiler</boilerout><boilersense>sense</boilersense><period>1 s</period>"
            "<startupperiod>10 s</startupperiod><shutdownperiod>-1</shutdownperiod></instrument>");
    }
    /// A timer comes on, a delay ends, or a key becomes true, with a '-' in front false.
    void apply(const QString &step)
    {
        const QList<QTimer *> timers = logic.findChildren<QTimer *>();
        if (step == "heatTimer" || step == "waterTimer")
            (step == "heatTimer" ? heat : water).boost();
        else if (step == "lead" || step == "runOn")
            expire(timers[step == "lead" ? 1 : 2]);
        else
            store.store(QString(step).remove('-'), !step.startsWith('-'));
    }
    /// The outputs of one sample: '.' none, 'p' pump, 'B' boiler and pump, '?' anything else.
    QChar sample()
    {
        const QStringList outputs{
            "boiler=false pump=false", "boiler=false pump=true", "boiler=true pump=true"};
        logic.takeSample();
        return QStringLiteral("?.pB").at(outputs.indexOf(published.take()) + 1);
    }
};
}

class tst_controlLogic : public QObject
{
    Q_OBJECT
private slots:
    void drivesBoilerAndPump()
    {
        const QList<QPair<QString, QString>> rows{// steps, and the outputs after each
            {"room tank", ".."}, {"heatTimer tank room", "..p"}, {"waterTimer room tank", "..p"},
            {"heatTimer heatStatOverride", ".p"}, {"waterTimer heatStatOverride sense", "..."},
            {"heatTimer room sense lead wait", ".ppBB"}, // the pump leads
            {"heatTimer room lead -room wait runOn wait", ".pBpp.."},
            {"heatTimer room lead -room room lead wait runOn wait", ".pBppBBBB"}, // again in the run-on
            {"heatTimer room lead -room room runOn wait lead", ".pBppppB"},
            {"heatTimer room -room wait lead wait runOn wait", ".ppppp.."}, // shorter than the lead
            {"heatTimer room -room runOn wait lead", ".pppp."},             // the pump waits for both delays
            {"heatTimer room -room room -room lead wait runOn", ".pppppp."},
            {"heatTimer waterTimer room lead tank -room -tank runOn", "..pBBBp."}};
        const fixture fresh;
        QList<int> intervals; // none of the texts is a number of milliseconds
        for (const QTimer *each : fresh.logic.findChildren<QTimer *>())
            intervals.append(each->interval());
        QCOMPARE(intervals, (QList<int>{1000, 10000, 60000}));
        for (const auto &[steps, outputs] : rows) {
            fixture f;
            QString seen;
            for (const QString &step : steps.split(' ')) {
                f.apply(step);
                seen += f.sample();
            }
            QVERIFY2(seen == outputs, qPrintable(steps + " gives " + seen));
        }
    }
};

QTEST_GUILESS_MAIN(tst_controlLogic)
#include "tst_controlLogic.moc"
