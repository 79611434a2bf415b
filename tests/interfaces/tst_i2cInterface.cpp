#include "lib/interfaces/i2cInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/fakeBus.h"

#include <QTest>

namespace {
constexpr int chip = 0x76;

struct fixture {
    fakeBus bus;
    i2cInterface tested{bus};
    char data[4] = {'\x27', '\x55'};
};
}

class tst_i2cInterface : public QObject
{
    Q_OBJECT
private slots:
    void readsAndWritesRegisters()
    {
        fixture f;
        QVERIFY(!f.tested.readRegister(1, 1, f.data)); // not grabbed
        f.bus.setRegisters(chip, 0xF7, "\x01\x02\x03");
        f.bus.refusedOpens = 9;
        QVERIFY(f.tested.grabBus() && f.tested.setAddress(chip));
        QCOMPARE(f.bus.sleptMs(), qint64(900));
        QVERIFY(f.tested.writeRegister(0xF4, 2, f.data));
        QVERIFY(f.tested.readRegister(0x1F7, 3, f.data)); // the low 8 bits are the register
        QCOMPARE(QByteArray(f.data), QByteArray("\x01\x02\x03"));
        QCOMPARE(f.bus.takeTraffic(), QString("76:f42755 76:f7")); // what is written goes in one
        QVERIFY(f.tested.grabBus());                               // held already
        QCOMPARE(f.tested.errorString(), QString("Bus already in use."));

        f.bus.shortTransfers = 2;
        QVERIFY(!f.tested.writeRegister(1, 2, f.data));
        QCOMPARE(f.tested.errorString(), QString("Failed to write to the i2c bus."));
        QVERIFY(!f.tested.readRegister(1, 4, f.data));
        QCOMPARE(f.tested.errorString(), QString("Failed to write register to the i2c bus."));
        QVERIFY(!f.tested.writeRegister(1, -1, f.data) && !f.tested.readRegister(1, -1, f.data));
        QCOMPARE(f.tested.errorString(), QString("Failed to read from the i2c bus."));
        f.tested.releaseBus();
        QVERIFY(f.bus.isFree());
        f.bus.refusedOpens = 10;
        QVERIFY(!f.tested.grabBus());
    }
};

QTEST_GUILESS_MAIN(tst_i2cInterface)
#include "tst_i2cInterface.moc"
