#include "lib/interfaces/i2cInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeBus.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QTest>

namespace {
constexpr int chip = 0x76;

struct fixture {
    logSink log;
    fakeBus bus;
    i2cInterface tested{bus.system()};

    fixture()
    {
        tested.debug->registerWithClient(&log);
        tested.configure(xml("<interface><Device>/dev/i2c-7</Device></interface>"));
    }
    void hold()
    {
        tested.grabBus();
        tested.setAddress(chip);
    }
};
}

class tst_i2cInterface : public QObject
{
    Q_OBJECT
private slots:
    void readsAndWritesRegisters()
    {
        fixture f;
        f.bus.setRegisters(chip, 0xF7, "\x01\x02\x03");
        f.hold();
        QCOMPARE(f.bus.lastPath(), QByteArray("/dev/i2c-7"));
        char data[] = {'\x27', '\x55', '\x66'};
        QVERIFY(f.tested.writeRegister(0xF4, 2, data));
        QVERIFY(f.tested.readRegister(0x1F7, 3, data)); // the low 8 bits are the register
        QCOMPARE(QByteArray(data, 3), QByteArray("\x01\x02\x03"));
        QVERIFY(f.tested.readRegister(0xD0, 0, nullptr));
        f.tested.releaseBus();
        f.tested.releaseBus();
        QCOMPARE(f.bus.registers(chip, 0xF4, 2), QByteArray("\x27\x55"));
        QByteArrayList sent;
        for (const fakeBus::transfer &each : f.bus.writes())
            sent.append(each.bytes);
        QCOMPARE(sent, (QByteArrayList{"\xF4\x27\x55", "\xF7", "\xD0"}));
        QCOMPARE(f.bus.opens(), 1);
        QCOMPARE(f.bus.closes(), 1);
        QCOMPARE(f.log.texts(), QStringList());
    }

    void retriesToGrabTheBusTenTimes_data()
    {
        QTest::addColumn<int>("refusals");
        QTest::addColumn<bool>("grabbed");
        QTest::addColumn<int>("sleptMs");
        QTest::newRow("last attempt") << 9 << true << 900;
        QTest::newRow("never") << 10 << false << 1000;
    }
    void retriesToGrabTheBusTenTimes()
    {
        QFETCH(int, refusals);
        fixture f;
        f.bus.refuseOpens(refusals);
        QTEST(f.tested.grabBus(), "grabbed");
        QTEST(int(f.bus.sleptMs()), "sleptMs");
        QCOMPARE(f.log.texts().count("Failed to open the bus."), refusals);
        if (refusals == 10)
            QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to grab I2C bus"));
        f.tested.releaseBus();
        QCOMPARE(f.bus.closes(), f.bus.opens());
    }

    void proceedsOnABusThatItHolds()
    {
        fixture f;
        QVERIFY(f.tested.grabBus() && f.tested.grabBus());
        QCOMPARE(f.log.texts(), QStringList{"Bus already in use."});
        QCOMPARE(f.log.messages().last().level, 2U);
        QCOMPARE(f.bus.opens(), 1);
    }

    void reportsAFailedTransfer()
    {
        fixture f;
        char data[4] = {};
        QVERIFY(!f.tested.readRegister(1, 1, data)); // not grabbed
        f.hold();
        f.bus.refuseTransfers(1);
        QVERIFY(!f.tested.readRegister(1, 4, data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to write register to the i2c bus."));
        f.bus.shortenTransfers(1);
        QVERIFY(!f.tested.writeRegister(1, 2, data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to write to the i2c bus."));
        QVERIFY(!f.tested.writeRegister(1, -1, data));
        QVERIFY(!f.tested.readRegister(1, -1, data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to read from the i2c bus."));
        f.bus.refuseAddresses(true);
        QVERIFY(!f.tested.setAddress(chip));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to assign slave address."));
    }

    void reportsAShortRead()
    {
        fixture f;
        f.hold();
        char data[4] = {};
        f.bus.shortenTransfers(2); // the register number, then what is read
        QVERIFY(!f.tested.readRegister(1, 4, data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to write register to the i2c bus."));
        QVERIFY(!f.tested.writeRegister(2, 4, data));
        QVERIFY(f.tested.readRegister(2, 4, data));
    }

    void isNoStream()
    {
        fixture f;
        f.hold();
        QCOMPARE(f.tested.type(), QStringLiteral("i2c"));
        QVERIFY(!f.tested.isOpen() && !f.tested.canReturnHandle());
        QVERIFY(!f.tested.open(QIODevice::ReadWrite));
    }
};

QTEST_GUILESS_MAIN(tst_i2cInterface)
#include "tst_i2cInterface.moc"
