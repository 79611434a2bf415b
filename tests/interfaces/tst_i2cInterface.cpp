#include "lib/interfaces/i2cInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeBus.h"
#include "tests/support/launch.h"

#include <QTest>

namespace {
constexpr int chip = 0x76;

struct fixture {
    fakeBus bus;
    i2cInterface tested{bus.system()};
    char data[4] = {'\x27', '\x55'};

    fixture() { tested.configure(xml("<interface><Device>/dev/i2c-7</Device></interface>")); }
    bool hold() { return tested.grabBus() && tested.setAddress(chip); }
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
        QVERIFY(f.hold());
        QCOMPARE(f.bus.lastPath(), QByteArray("/dev/i2c-7"));
        QVERIFY(f.tested.writeRegister(0xF4, 2, f.data));
        QVERIFY(f.tested.readRegister(0x1F7, 3, f.data)); // the low 8 bits are the register
        QCOMPARE(QByteArray(f.data), QByteArray("\x01\x02\x03"));
        QCOMPARE(f.bus.registers(chip, 0xF4, 2), QByteArray("\x27\x55"));
        QCOMPARE(
            f.bus.writes().count(), 2); // one for all that is written, one for the number of what is read
        QVERIFY(f.tested.grabBus());    // held already
        QCOMPARE(f.tested.errorString(), QStringLiteral("Bus already in use."));
        f.tested.releaseBus();
        QCOMPARE(f.bus.closes(), f.bus.opens());
    }

    void triesToGrabTheBusTenTimes()
    {
        for (const int refusals : {9, 10}) {
            fixture f;
            f.bus.refuseOpens(refusals);
            QCOMPARE(f.tested.grabBus(), refusals < 10);
            QCOMPARE(f.bus.sleptMs(), qint64(refusals * 100));
            QCOMPARE(f.tested.errorString() == "Failed to grab I2C bus", refusals == 10);
        }
    }

    void reportsAFailedTransfer()
    {
        fixture f;
        QVERIFY(!f.tested.readRegister(1, 1, f.data)); // not grabbed
        QVERIFY(f.hold());
        f.bus.shortenTransfers(2);
        QVERIFY(!f.tested.writeRegister(1, 2, f.data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to write to the i2c bus."));
        QVERIFY(!f.tested.readRegister(1, 4, f.data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to write register to the i2c bus."));
        QVERIFY(!f.tested.writeRegister(1, -1, f.data) && !f.tested.readRegister(1, -1, f.data));
        QCOMPARE(f.tested.errorString(), QStringLiteral("Failed to read from the i2c bus."));
    }
};

QTEST_GUILESS_MAIN(tst_i2cInterface)
#include "tst_i2cInterface.moc"
