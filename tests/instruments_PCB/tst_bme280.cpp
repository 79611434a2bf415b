#include "lib/instruments/PCB/bme280.h"

#include "tests/support/testedDevice.h"

#include <QTest>

namespace {
constexpr int usualAddress = 0x76;
const QString roomClimate = "SysTemperature=21 SysPressure=1013 SysHumidity=50";
const QString nothing = "";

struct fixture : testedDevice<bme280> {
    explicit fixture(char id = 0x60, int address = usualAddress)
    {
        const auto set
            = [&](int reg, const char *hex) { host.setRegisters(address, reg, QByteArray::fromHex(hex)); };
        set(0x88, "706B436718FC7D8E43D6D00B270B8C00F9FF8C3CF8C67017004B");
        set(0xE1, "6A01001329031E");
        set(0xF7, "6381207BBF0071C0"); // 21 degrees, 1013.25 hPa, 50 %
        host.setRegisters(address, 0xD0, QByteArray(1, id));
    }
    QString lastLog() const { return device.debug->lastLog(); }
};
}

class tst_bme280 : public QObject
{
    Q_OBJECT
private slots:
    void saysWhatItFindsAtTheStart()
    {
        const QList<std::tuple<int, QString, QString>> rows{{0x60, "Device initialised", roomClimate},
            // Kept: without its calibration a chip reads 0 degrees, 300 hPa and 0 %.
            {0x58, "Device is a Bosch Sensortec BMP-280", "SysTemperature=0 SysPressure=300 SysHumidity=0"},
            {0xFF, "Device unavailable.", nothing},
            {0x61, "Unknown device. Device will not be read.", nothing}};
        for (const auto &[id, message, climate] : rows) {
            fixture f{char(id)};
            f.host.refusedTransfers = id == 0xFF ? 1000 : 0;
            f.start("<interface>i2c</interface>");
            QCOMPARE(f.lastLog(), message);
            QVERIFY(f.host.sleptMs() >= 1000);
            QCOMPARE(f.timer()->isActive() ? f.sample() : nothing, climate);
            QVERIFY(f.host.isFree());
        }
    }

    void leavesOutAnImplausiblePressure()
    {
        fixture f(0x60, 0x77);
        f.host.setRegisters(0x77, 0xF7, QByteArray::fromHex("500000"));
        f.start("<interface>i2c</interface><Address>119</Address><dataprepend>x</dataprepend>");
        QCOMPARE(f.sample(), QString("xTemperature=21 xHumidity=50"));
    }

    void aLostTransferInventsNoClimate()
    {
        constexpr int first = 3; // behind the chip's name
        constexpr int last = 30;
        for (int lost = first; lost <= last; ++lost) {
            fixture f;
            f.host.lostTransfer = lost;
            f.start("<interface>i2c</interface>");
            const QString climate = f.sample();
            QVERIFY2(climate == nothing || climate == roomClimate, qPrintable(climate));
            QCOMPARE(f.sample(), roomClimate);
        }
    }

    void publishesNothingForAFailedSample()
    {
        fixture f;
        f.host.refusedOpens = 10;
        f.start("<interface>i2c</interface>");
        QCOMPARE(f.lastLog(), QString("Failed to grab I2C bus"));
        QCOMPARE(f.sample(), nothing); // starts as soon as the bus is there
        QCOMPARE(f.lastLog(), QString("Device initialised"));
        f.host.refusedTransfers = 1000;
        QCOMPARE(f.sample(), nothing);
        QCOMPARE(f.lastLog(), QString("Failed to query device\n"));
        f.host.refusedTransfers = 0;
        f.host.takeTraffic();
        const qint64 before = f.host.sleptMs();
        QCOMPARE(f.sample(), roomClimate);
        QCOMPARE(f.host.sleptMs() - before, 100); // the chip measures
        // Configured anew every time, for there may have been a reset; read last.
        const QString traffic = f.host.takeTraffic();
        QVERIFY2(traffic.contains("76:f205") && traffic.endsWith("76:f4b5 76:f7"), qPrintable(traffic));
        QVERIFY(f.host.isFree());
    }
};

QTEST_GUILESS_MAIN(tst_bme280)
#include "tst_bme280.moc"
