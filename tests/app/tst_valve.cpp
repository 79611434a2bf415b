#include "app/valve.h"

#include "lib/types/datastore.h"
#include "tests/support/launch.h"
#include "tests/support/onThread.h"
#include "tests/support/results.h"

#include <QComboBox>
#include <QLabel>
#include <QTest>
#include <QThread>
#include <QTimer>

namespace {
const QString heatingOnly = "card1Power1Demand=false card2Power2Demand=false";
const QString bothCircuits = "card1Power1Demand=true card2Power2Demand=false";
const QString hotWaterOnly = "card1Power1Demand=true card2Power2Demand=true";
const QString untouched = "";

struct fixture {
    datastore store;
    valve logic{&store, nullptr, nullptr};
    results published{logic};

    fixture()
    {
        launch(logic,
            "<instrument><heatstat>room</heatstat><tankstat>tank</tankstat><MidOutCard>card1</MidOutCard>"
            "<midoutchan>1</midoutchan><fulloutcard>card2</fulloutcard><fulloutchan>2</fulloutchan>"
            "<heattimer>heatTimerOn</heattimer><tanktimer>waterTimerOn</tanktimer></instrument>");
    }
    /// Keys become true, with a '-' in front false. What is published at once.
    QString set(const QString &inputs)
    {
        for (const QString &input : inputs.split(' '))
            store.store(QString(input).remove('-'), !input.startsWith('-'));
        return published.take();
    }
    QString sample()
    {
        logic.takeSample();
        return published.take();
    }
};
}

class tst_valve : public QObject
{
    Q_OBJECT
private slots:
    void positionsTheValveByThermostatsAndTimers()
    {
        const QList<QPair<QString, QString>> rows{{"nothing", heatingOnly}, {"room heatTimerOn", heatingOnly},
            {"tank waterTimerOn", hotWaterOnly}, {"room tank heatTimerOn waterTimerOn", bothCircuits},
            {"room tank waterTimerOn", hotWaterOnly}, {"room tank heatTimerOn", heatingOnly},
            {"heatStatOverride heatTimerOn tank waterTimerOn", bothCircuits},
            {"heatStatOverride tank waterTimerOn", hotWaterOnly}};
        for (const auto &[inputs, position] : rows) {
            fixture f;
            f.set(inputs);
            QVERIFY2(f.sample() == position, qPrintable(inputs));
        }
    }

    void onlyAThermostatThatTurnsOnActsAtOnce()
    {
        fixture f;
        QCOMPARE(f.set("tank"), heatingOnly); // its timer is off
        QCOMPARE(f.set("-tank"), untouched);
        QCOMPARE(f.set("heatTimerOn waterTimerOn"), untouched);
        QCOMPARE(f.set("tank"), hotWaterOnly);
        QCOMPARE(f.set("heatStatOverride"), untouched);
        QCOMPARE(f.set("tank"), hotWaterOnly); // told again, moved again; the override acts ...
        QCOMPARE(f.sample(), bothCircuits);    // ... at the sample
        f.set("-heatStatOverride");
        QCOMPARE(f.sample(), bothCircuits); // until the thermostat speaks
        QCOMPARE(f.set("-room"), untouched);
        QCOMPARE(f.sample(), hotWaterOnly);
        f.set("heatStatOverride");
        QCOMPARE(f.sample(), bothCircuits);
        f.set("-heatStatOverride");
        QCOMPARE(f.sample(), hotWaterOnly); // the thermostat has spoken before
        QCOMPARE(f.set("room"), bothCircuits);
    }

    void onlyTheSelectorHasASayWhileItIsOnScreen()
    {
        fixture f;
        auto *const selector = f.logic.control->findChild<QComboBox *>();
        f.logic.control->show();
        QCOMPARE(f.set("tank waterTimerOn"), untouched);
        QCOMPARE(f.sample(), heatingOnly);
        selector->setCurrentIndex(2);
        QCOMPARE(f.published.take(), bothCircuits);

        f.store.store("card2Current2", 0.25);
        QThread thread; // of the logic; the selector stays on the display's
        f.logic.moveToThread(&thread);
        connect(&thread, &QThread::finished, &f.logic, [&f] { delete f.logic.findChild<QTimer *>(); });
        selector->setCurrentIndex(1);
        runOnThread(
            thread, [] {}, &f.logic, &valve::statusChanged);
        QCOMPARE(f.published.take(), hotWaterOnly);
        QTRY_COMPARE(f.logic.control->findChild<QLabel *>()->text(), QStringLiteral("Current = 0.25 A"));
        selector->setCurrentIndex(0);
        f.logic.control->hide();
        QCOMPARE(f.sample(), hotWaterOnly);
    }
};

QTEST_MAIN(tst_valve)
#include "tst_valve.moc"
