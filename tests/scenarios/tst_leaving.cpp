#include "tests/support/scenario.h"

#include <QTest>

namespace {
/// Everything that the example installation has besides the cards, at a quick pace.
const char furnishings[]
    = "<interface type=\"i2c\"><name>environment</name><device>/dev/i2c-1</device>"
      "<power><pin>4</pin><on><mode>1</mode><interval>200</interval></on><off><mode>0</mode>"
      "<interval>100</interval></off></power></interface>"
      "<interface type=\"serial\"><name>serial</name><device>/nowhere</device></interface>"
      "<interface "
      "type=\"tcp\"><name>net</name><mode>client</mode><ip>127.0.0.1</ip><port>1</port></interface>"
      "<instrument type=\"bme280\"><interface>environment</interface><period>300</period></instrument>"
      "<instrument type=\"internal\"><period>200</period><sensor type=\"cpu\"/><sensor type=\"mem\"/>"
      "<sensor type=\"diskfree\"><filesystem>/</filesystem></sensor>"
      "<sensor type=\"temperature\"><zone>0</zone></sensor></instrument>"
      "<sampler type=\"thingsboardjson\"><uri>http://127.0.0.1:1/</uri><period>500</period><key>cpu</key>"
      "<key triggerVariable=\"card1Power1Control\" triggerEdge=\"both\">card1Power1Control</key></sampler>";
}

/// Closing the window ends the program with code 0, whatever its threads are doing, without a leak or a
/// message.
class tst_leaving : public QObject
{
    Q_OBJECT
private slots:
    void endsCleanly_data()
    {
        QTest::addColumn<QByteArray>("trouble");
        QTest::addColumn<QByteArray>("until");
        QTest::newRow("at once") << QByteArray() << QByteArray();
        QTest::newRow("running") << QByteArray() << QByteArray("procMem");
        QTest::newRow("waiting for a slow card")
            << QByteArray("fault i2c-2 0x30 slow 2000") << QByteArray("procMem");
        QTest::newRow("waiting for a lost bus") << QByteArray("fault i2c-3 absent") << QByteArray("procMem");
        QTest::newRow("waiting for a slow sensor")
            << QByteArray("file 28-0000000000f1 slow 2000") << QByteArray("returntemperature");
    }
    void endsCleanly()
    {
        QFETCH(QByteArray, trouble);
        QFETCH(QByteArray, until);
        scenario run;
        run.configure(scenario::installation() + furnishings);
        QVERIFY(run.startDevices());
        if (!trouble.isEmpty())
            run.tell(trouble);
        run.tell("thermostat room on");
        QVERIFY(run.startController());
        QVERIFY(until.isEmpty() || run.waitForLog("Added \"" + until + '"'));
        QCOMPARE(run.leave(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(tst_leaving)
#include "tst_leaving.moc"
