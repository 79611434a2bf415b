#include "lib/interfaces/gpioInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeHost.h"

#include <QTest>

namespace {
const QString gpio = QStringLiteral("/sys/class/gpio/");

struct fixture {
    fakeHost host;
    gpioInterface tested{host.system()};

    fixture()
    {
        host.write(gpio + "export", "");
        host.write(gpio + "gpio17/direction", "");
        host.write(gpio + "gpio17/value", "");
    }
    QByteArray file(const char *name) const { return host.read(gpio + name).value_or("missing"); }
};
}

class tst_gpioInterface : public QObject
{
    Q_OBJECT
private slots:
    void readsTheLevel_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("level");
        QTest::newRow("high") << QByteArray("1\n") << true;
        QTest::newRow("low") << QByteArray("0\n") << false;
        QTest::newRow("neither") << QByteArray("2\n") << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("hexadecimal") << QByteArray("0x1\n") << true;
        QTest::newRow("text") << QByteArray("on\n") << false;
        QTest::newRow("15 characters count") << QByteArray("0000000000000010\n") << true;
    }
    void readsTheLevel()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, level);
        fixture f;
        f.host.write(gpio + "gpio17/value", content);
        for (const bool invert : {false, true}) {
            f.tested.invert = invert;
            bool value = !level != invert;
            QVERIFY(f.tested.get(17, &value));
            QCOMPARE(value, level != invert);
        }
        QCOMPARE(f.file("export"), QByteArray("17\n"));
        QCOMPARE(f.file("gpio17/direction"), QByteArray("in\n"));
    }

    void drivesTheLevel()
    {
        fixture f;
        for (const bool invert : {false, true}) {
            f.tested.invert = invert;
            QVERIFY(f.tested.set(17, true));
            QCOMPARE(f.file("gpio17/value"), QByteArray(invert ? "0\n" : "1\n"));
            QVERIFY(f.tested.set(17, false));
            QCOMPARE(f.file("gpio17/value"), QByteArray(invert ? "1\n" : "0\n"));
        }
        QCOMPARE(f.file("export"), QByteArray("17\n"));
        QCOMPARE(f.file("gpio17/direction"), QByteArray("out\n"));
    }

    void leavesEverythingAloneWithoutAPin()
    {
        fixture f;
        bool value = true;
        QVERIFY(!f.tested.get(-1, &value) && !f.tested.set(-1, true));
        QVERIFY(value);
        QCOMPARE(f.file("export"), QByteArray());
        QCOMPARE(f.tested.debug->lastLog(), QString());
    }

    void reportsTheFileThatFails_data()
    {
        QTest::addColumn<QByteArray>("blocked"); // a folder stands in its place
        QTest::addColumn<QString>("getMessage");
        QTest::addColumn<QString>("setMessage");
        const QString exportMessage = "Could not open export (GPIO17)";
        QTest::newRow("export") << QByteArray("export") << exportMessage << exportMessage;
        const QString directionMessage = "Could not set pin direction (GPIO17)";
        QTest::newRow("direction") << QByteArray("gpio17/direction") << directionMessage << directionMessage;
        QTest::newRow("value") << QByteArray("gpio17/value") << "Could not get pin value (GPIO17)"
                               << "Could not set pin value (GPIO17)";
    }
    void reportsTheFileThatFails()
    {
        QFETCH(QByteArray, blocked);
        fixture f;
        f.host.remove(gpio + blocked);
        f.host.write(gpio + blocked + "/in/the/way", "");
        bool value = true;
        QVERIFY(!f.tested.get(17, &value));
        QVERIFY(value);
        QTEST(f.tested.debug->lastLog(), "getMessage");
        QVERIFY(!f.tested.set(17, true));
        QTEST(f.tested.debug->lastLog(), "setMessage");
    }
};

QTEST_GUILESS_MAIN(tst_gpioInterface)
#include "tst_gpioInterface.moc"
