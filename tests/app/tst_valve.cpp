#include "app/valve.h"

#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"

#include <QComboBox>
#include <QLabel>
#include <QThread>
#include <QtTest>

namespace {
const QByteArray keys = "<instrument><heatstat>room</heatstat><tankstat>tank</tankstat>"
                        "<MidOutCard>card1</MidOutCard><midoutchan>1</midoutchan>"
                        "<fulloutcard>card2</fulloutcard><fulloutchan>2</fulloutchan>"
                        "<heattimer>heatTimerOn</heattimer><tanktimer>waterTimerOn</tanktimer></instrument>";

const char *const heatingOnly = "mid 0 full 0";
const char *const bothCircuits = "mid 1 full 0";
const char *const hotWaterOnly = "mid 1 full 1";
const char *const untouched = "";

struct fixture {
    datastore store;
    valve logic{&store, nullptr, nullptr};
    QSignalSpy results{&logic, &instrument::resultAvailable};

    explicit fixture(const QByteArray &xml = keys) { launch(logic, xml); }
    void set(const QString &inputs) // "room tank=0": true unless said otherwise
    {
        for (const QString &input : inputs.split(' ', Qt::SkipEmptyParts))
            store.store(input.section('=', 0, 0), input.section('=', 1, 1) != "0");
    }
    QComboBox *selector() { return logic.control->findChild<QComboBox *>(); }
    QString statusText() { return logic.control->findChild<QLabel *>()->text(); }

    /// What was published since the last call.
    QString outputs()
    {
        QString text;
        if (results.count() == 2 && results[0][0] == "card1Power1Demand"
            && results[1][0] == "card2Power2Demand")
            text = QStringLiteral("mid %1 full %2").arg(results[0][1].toInt()).arg(results[1][1].toInt());
        else if (!results.isEmpty())
            text = QStringLiteral("%1 results").arg(results.count());
        results.clear();
        return text;
    }
    QString sample()
    {
        results.clear();
        logic.takeSample();
        return outputs();
    }
};
}

class tst_valve : public QObject
{
    Q_OBJECT
private slots:
    void runsOnDefaults()
    {
        fixture f("<instrument/>");
        auto *const sampling = f.logic.findChild<QTimer *>();
        QCOMPARE(sampling->interval(), 1000);
        expire(sampling);
        QCOMPARE(f.results.count(), 2);
        QCOMPARE(f.results[0], (QVariantList{"NoCardPower0Demand", false}));
        QCOMPARE(f.results[1], (QVariantList{"NoCardPower0Demand", false}));
    }

    void publishesNothingBeforeItsStart()
    {
        datastore store;
        valve idle(&store, nullptr, nullptr);
        const QSignalSpy results(&idle, &instrument::resultAvailable);
        store.store(QString(), true);
        idle.control->findChild<QComboBox *>()->setCurrentIndex(1);
        QCOMPARE(results.count(), 0);
    }

    void positionsTheValveByThermostatsAndTimers_data()
    {
        QTest::addColumn<QString>("inputs");
        QTest::addColumn<QString>("position");
        const auto row = [](const char *inputs, const char *position) {
            QTest::newRow(inputs) << QString::fromLatin1(inputs) << QString::fromLatin1(position);
        };
        row("no=0", heatingOnly);
        row("room heatTimerOn", heatingOnly);
        row("tank waterTimerOn", hotWaterOnly);
        row("room tank heatTimerOn waterTimerOn", bothCircuits);
        row("room tank waterTimerOn", hotWaterOnly);
        row("room tank heatTimerOn=0 waterTimerOn", hotWaterOnly);
        row("room tank heatTimerOn", heatingOnly);
        row("room tank", heatingOnly);
        row("tank heatTimerOn", heatingOnly);
        row("heatStatOverride heatTimerOn", heatingOnly);
        row("heatStatOverride tank heatTimerOn waterTimerOn", bothCircuits);
        row("heatStatOverride tank waterTimerOn", hotWaterOnly);
    }
    void positionsTheValveByThermostatsAndTimers()
    {
        QFETCH(QString, inputs);
        fixture f;
        f.set(inputs);
        QTEST(f.sample(), "position");
    }

    void onlyAThermostatThatTurnsOnActsAtOnce()
    {
        fixture f;
        f.set("heatTimerOn waterTimerOn");
        QCOMPARE(f.outputs(), untouched);
        f.set("tank");
        QCOMPARE(f.outputs(), hotWaterOnly);
        f.set("tank"); // told again, moved again
        QCOMPARE(f.outputs(), hotWaterOnly);
        f.set("room");
        QCOMPARE(f.outputs(), bothCircuits);
        f.set("tank=0");
        QCOMPARE(f.outputs(), untouched);
        QCOMPARE(f.sample(), heatingOnly);
    }

    void overrideHoldsUntilTheThermostatSpeaks()
    {
        fixture f;
        f.set("tank heatTimerOn waterTimerOn");
        QCOMPARE(f.sample(), hotWaterOnly);
        f.set("heatStatOverride");
        QCOMPARE(f.outputs(), untouched);
        f.set("tank"); // the override does not act here ...
        QCOMPARE(f.outputs(), hotWaterOnly);
        QCOMPARE(f.sample(), bothCircuits); // ... but at the sample
        f.set("heatStatOverride=0");
        QCOMPARE(f.sample(), bothCircuits); // no thermostat has spoken yet
        f.set("room=0");
        QCOMPARE(f.sample(), hotWaterOnly);
    }

    void followsTheSelectorWhileItIsOnScreen()
    {
        fixture f;
        f.set("room heatTimerOn");
        f.outputs();
        f.logic.control->show();
        f.store.store("card1Current1", 0.1);
        f.store.store("card2Current2", 0.25);
        QCOMPARE(f.statusText(), QStringLiteral("Status"));
        QCOMPARE(f.selector()->currentText(), QStringLiteral("Heating"));
        QCOMPARE(f.sample(), heatingOnly);
        QCOMPARE(f.statusText(), QStringLiteral("Current = 0.35 A"));
        f.set("tank waterTimerOn"); // no say now
        QCOMPARE(f.outputs(), untouched);
        f.selector()->setCurrentText("Hot Water");
        QCOMPARE(f.outputs(), hotWaterOnly); // at once
        f.selector()->setCurrentText("Both");
        QCOMPARE(f.outputs(), bothCircuits);
        f.set("tank=0 room=0");
        QCOMPARE(f.sample(), bothCircuits);
        f.logic.control->hide();
        QCOMPARE(f.sample(), heatingOnly);
    }

    void answersTheDisplayFromItsOwnThread()
    {
        qRegisterMetaType<datastoreElementType>();
        datastore store;
        valve logic(&store, nullptr, nullptr);
        logic.configure(xml(keys));
        logic.control->show();
        QSignalSpy status(&logic, &valve::statusChanged);
        QSignalSpy results(&logic, &instrument::resultAvailable);
        QThread worker;
        logic.moveToThread(&worker);
        connect(&worker, &QThread::started, &logic, &valve::start);
        connect(&worker, &QThread::finished, &logic, [&logic] { delete logic.findChild<QTimer *>(); });
        worker.start();
        logic.control->findChild<QComboBox *>()->setCurrentIndex(1);
        QTRY_COMPARE(logic.control->findChild<QLabel *>()->text(), QStringLiteral("Current = 0.00 A"));
        worker.quit();
        QVERIFY(worker.wait());
        QCOMPARE(results[1], (QVariantList{"card2Power2Demand", true}));
    }
};

QTEST_MAIN(tst_valve)
#include "tst_valve.moc"
