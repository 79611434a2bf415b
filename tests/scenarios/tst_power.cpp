#include "tests/support/scenario.h"

#include <QTest>

namespace {
const char pinEvent[] = " gpio 17 value ";

/// Levels that the pin was driven to so far, "1" and "0" in order.
QByteArray levels(scenario &run)
{
    QByteArray all;
    for (const QByteArray &line : run.events()) {
        const int at = line.indexOf(pinEvent);
        if (at >= 0)
            all += line.mid(at + int(sizeof pinEvent) - 1);
    }
    return all;
}
}

/// A device's supply follows its modes and its rules, seen at the pin.
class tst_power : public QObject
{
    Q_OBJECT
private slots:
    void switchesThePin_data()
    {
        QTest::addColumn<int>("onMode");
        QTest::addColumn<int>("offMode");
        QTest::addColumn<bool>("invert");
        QTest::addColumn<QByteArray>("beforeRule"); // levels that are among those before the rule matches
        QTest::addColumn<QByteArray>("afterRule");  // the level from then on, or levels that are among them
        QTest::newRow("once, off by rule") << 0 << 3 << false << QByteArray("1") << QByteArray("0");
        QTest::newRow("once, for ever") << 0 << 2 << false << QByteArray("1") << QByteArray("");
        QTest::newRow("again and again, off by rule")
            << 1 << 4 << false << QByteArray("1") << QByteArray("010");
        QTest::newRow("cycling") << 1 << 0 << false << QByteArray("1010") << QByteArray();
        QTest::newRow("once, off by rule, inverted") << 0 << 3 << true << QByteArray("0") << QByteArray("1");
    }
    void switchesThePin()
    {
        QFETCH(int, onMode);
        QFETCH(int, offMode);
        QFETCH(bool, invert);
        QFETCH(QByteArray, beforeRule);
        QFETCH(QByteArray, afterRule);
        const QString board = QStringLiteral(
            "<interface type=\"i2c\"><name>bus</name><device>/dev/i2c-1</device><power><pin>17</pin>"
            "<invert>%3</invert><on><mode>%1</mode><interval>400</interval></on><off><mode>%2</mode>"
            "<interval>150</interval>"
            "<rule><expression>card1Pressure1 +</expression></rule>" // stands for nothing
            "<rule><expression>card1Prs1OK == 0 &amp;&amp; card1Pressure1 &gt; 3</expression></rule>"
            "</off></power></interface><instrument "
            "type=\"boilerswitchboard\"><dataprepend>card1</dataprepend>"
            "<interface>bus</interface><period>50</period></instrument>")
                                  .arg(onMode)
                                  .arg(offMode)
                                  .arg(invert ? QStringLiteral("true") : QStringLiteral("false"));
        scenario run;
        run.configure(board.toLatin1());
        QVERIFY(run.start());
        QVERIFY(scenario::waitFor([&] { return levels(run).contains(beforeRule); }));
        QCOMPARE(levels(run)[0], beforeRule[0]);
        QVERIFY(scenario::waitFor([&] { return run.values.last(QStringLiteral("card1power")).isValid(); }));
        if (!afterRule.isNull()) {
            QCOMPARE(levels(run), beforeRule); // neither a timer nor a rule that does not match
            run.tell("fix systemPressure 3.5");
            const QString pressure = QStringLiteral("card1Pressure1");
            QVERIFY(scenario::waitFor([&] { return run.values.last(pressure).toDouble() > 3.0; }));
            // Long enough for the next switch-on, counted in readings of the card.
            const int enough = run.values.count(pressure) + 25;
            QVERIFY(scenario::waitFor([&] { return run.values.count(pressure) >= enough; }));
            // A pulse of a millisecond may be over before the simulator looks; there will be more.
            QVERIFY2(
                scenario::waitFor([&] { return levels(run).mid(beforeRule.size()).contains(afterRule); }),
                levels(run).constData());
            QVERIFY(afterRule.size() > 1 || levels(run) == beforeRule + afterRule);
        }
        const bool wasOff = levels(run).contains(invert ? '1' : '0');
        QCOMPARE(run.values.count(QStringLiteral("card1powerOnDuration")) > 0, wasOff);
        QCOMPARE(run.leave(), QByteArray());
    }

    void reportsAPinThatIsNotThere()
    {
        scenario run;
        run.configure(
            "<interface type=\"i2c\"><name>bus</name><device>/dev/i2c-1</device><power><pin>17</pin></power>"
            "</interface><instrument type=\"boilerswitchboard\"><dataprepend>card1</dataprepend>"
            "<interface>bus</interface><period>50</period></instrument>");
        QVERIFY(run.startDevices());
        run.tell("gpio 17 absent");
        QVERIFY(run.startController());
        QVERIFY(run.waitForLog("Could not set pin direction (GPIO17)"));
        QVERIFY(run.waitForLog("Added \"card1Power2Control\"")); // the card is read all the same
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_power)
#include "tst_power.moc"
