#include "tests/support/scenario.h"

#include <QTest>

namespace {
const QString beat = QStringLiteral("valvePower1Control"); // a card that nothing is wrong with

/// Waits until what happened before this call has been published: the display thread passes values on in
/// order, and this one is new.
bool catchUp(scenario &run)
{
    static double amperes = 1.0;
    amperes += 1.0 / 64; // exact as a float
    run.tell("fix valveMidCurrent " + QByteArray::number(amperes, 'g', 12));
    const QString key = QStringLiteral("valveCurrent1");
    return scenario::waitFor([&] { return run.values.last(key).toDouble() == amperes; });
}

/// Lets \a samples readings of the sound card pass.
bool letPass(scenario &run, int samples)
{
    const int until = run.values.count(beat) + samples;
    return scenario::waitFor([&] { return run.values.count(beat) >= until; });
}
}

/// Devices fail in every way they can: nothing false is published, nothing crashes, and with the fault's end
/// the values are back.
class tst_busFaults : public QObject
{
    Q_OBJECT
private slots:
    void survives_data()
    {
        QTest::addColumn<QList<QByteArray>>("faults"); // commands
        QTest::addColumn<QString>("silent");           // key that must not be published meanwhile
        QTest::addColumn<QString>("heard");            // key that must be all the same
        const QString pressure = QStringLiteral("card1Pressure1");
        const QString state = QStringLiteral("card1Prs1State");
        const QString relay = QStringLiteral("card1Power1Control");
        const QString flow = QStringLiteral("flowtemperature");
        const QString back = QStringLiteral("returntemperature");
        const QString load = QStringLiteral("cpu");
        const QString zone = QStringLiteral("board");
        const QString air = QStringLiteral("SysTemperature");
        const auto row = [](const char *name, QList<QByteArray> faults, const QString &silent,
                             const QString &heard) { QTest::newRow(name) << faults << silent << heard; };
        row("bus gone", {"fault i2c-1 absent"}, relay, beat);
        row("card does not acknowledge", {"fault i2c-1 0x30 nak"}, relay, air);
        row("address refused", {"fault i2c-1 0x30 busy"}, relay, beat);
        row("short reads", {"fault i2c-1 0x30 short"}, relay, beat);
        row("only ones", {"fault i2c-1 0x30 ff"}, relay, beat);
        row("not a number", {"fault i2c-1 0x30 nan"}, pressure, state);
        row("infinite", {"fault i2c-1 0x30 inf"}, pressure, state);
        row("far out of range", {"fault i2c-1 0x30 big"}, pressure, state);
        row("just out of range", {"fix systemPressure 3.91"}, pressure, state);
        row("current below zero", {"fix pumpCurrent -0.2"}, QStringLiteral("card1Current1"), pressure);
        row("pressure byte missing", {"reply i2c-1 0x30 0x02 ff"}, state, pressure);
        row("sense byte of two", {"reply i2c-2 0x30 0x33 02"}, QStringLiteral("nothing"), relay);
        row("slow card", {"fault i2c-1 0x30 slow 20"}, QStringLiteral("nothing"), relay);
        row("card stalls for 1 s", {"fault i2c-1 0x30 slow 1000 1"}, QStringLiteral("nothing"), relay);
        row("environment sensor gone", {"fault i2c-1 0x76 nak"}, air, relay);
        row("environment sensor cut short", {"fault i2c-1 0x76 short"}, air, relay);
        row("pipe sensor gone", {"file 28-0000000000f1 absent"}, flow, back);
        row("pipe sensor's checksum", {"file 28-0000000000f1 crc"}, flow, back);
        row("pipe sensor's second line", {"file 28-0000000000f1 cut"}, flow, back);
        row("pipe sensor's digits", {"file 28-0000000000f1 garbled"}, flow, back);
        row("pipe sensor's file empty", {"file 28-0000000000f1 empty"}, flow, back);
        row("pipe sensor slow", {"file 28-0000000000f1 slow 300"}, QStringLiteral("nothing"), back);
        row("no load average", {"file loadavg absent"}, load, zone);
        row("empty load average", {"file loadavg empty"}, load, zone);
        row("no thermal zone", {"file temp absent"}, zone, load);
        row("everything at once",
            {"fault i2c-1 absent", "fault i2c-2 0x30 ff", "file 28-0000000000f1 crc", "file loadavg absent"},
            relay, beat);
    }
    void survives()
    {
        QFETCH(QList<QByteArray>, faults);
        QFETCH(QString, silent);
        QFETCH(QString, heard);
        scenario &run = *m_run;
        for (const QByteArray &fault : faults)
            run.tell(fault);
        QVERIFY(catchUp(run) && letPass(run, 2) && catchUp(run)); // what was under way arrives
        const int before = run.values.count(silent);
        const int alive = run.values.count(heard);
        QVERIFY(letPass(run, 8) && catchUp(run));
        QVERIFY(scenario::waitFor([&] { return run.values.count(heard) > alive; }));
        QCOMPARE(run.values.count(silent), before);
        QVERIFY(run.isRunning());
        run.tell("fault none");
        run.tell("release all");
        run.tell("reply i2c-1 0x30 0x02 none");
        run.tell("reply i2c-2 0x30 0x33 none");
        const int after = run.values.count(heard);
        QVERIFY(scenario::waitFor([&] { return run.values.count(heard) > after; }));
        QVERIFY(silent == QLatin1String("nothing")
            || scenario::waitFor([&] { return run.values.count(silent) > before; }));
    }

    void initTestCase()
    {
        m_run = std::make_unique<scenario>();
        m_run->configure(scenario::installation({50, 50, 50, 50, 75}) + scenario::furnishings(125));
        QVERIFY(m_run->start());
        QVERIFY(m_run->waitForLog("Added \"SysTemperature\""));
        QVERIFY(letPass(*m_run, 2));
    }
    void cleanupTestCase()
    {
        // Whatever came in between, nothing was published that the plant never was.
        for (const QVariant &bar : m_run->values.all(QStringLiteral("card1Pressure1")))
            QVERIFY2(bar.toDouble() > 1.0 && bar.toDouble() < 2.0, qPrintable(bar.toString()));
        for (const QVariant &degrees : m_run->values.all(QStringLiteral("flowtemperature")))
            QVERIFY2(degrees.toDouble() > 15.0 && degrees.toDouble() < 40.0, qPrintable(degrees.toString()));
        for (const QVariant &sense : m_run->values.all(QStringLiteral("thermostatPower1Sense")))
            QCOMPARE(sense.toBool(), false);
        QCOMPARE(m_run->values.garbage(), 0);
        QCOMPARE(m_run->leave(), QByteArray());
        m_run.reset();
    }

private:
    std::unique_ptr<scenario> m_run;
};

QTEST_GUILESS_MAIN(tst_busFaults)
#include "tst_busFaults.moc"
