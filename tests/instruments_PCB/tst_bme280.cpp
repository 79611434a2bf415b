#include "lib/instruments/PCB/bme280.h"

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/i2cInterface.h"
#include "tests/support/expire.h"
#include "tests/support/fakeBus.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace {
constexpr int usualAddress = 0x76;

struct fixture {
    fakeBus host;
    i2cInterface bus{host};
    QList<interface *> interfaces{&bus};
    logSink log;
    bme280 sensor{nullptr, &interfaces, nullptr, host.system()};
    QSignalSpy results{&sensor, &instrument::resultAvailable};

    explicit fixture(char id = 0x60, int address = usualAddress)
    {
        const auto set
            = [&](int reg, const char *hex) { host.setRegisters(address, reg, QByteArray::fromHex(hex)); };
        set(0x88, "706B436718FC7D8E43D6D00B270B8C00F9FF8C3CF8C67017004B");
        set(0xE1, "6A01001329031E");
        set(0xF7, "6381207BBF0071C0"); // 21 degrees, 1013.25 hPa, 50 %
        host.setRegisters(address, 0xD0, QByteArray(1, id));
        bus.configure(xml("<interface><name>Air</name><device>/dev/i2c-1</device></interface>"));
        sensor.debug->registerWithClient(&log);
    }
    void start(const QByteArray &keys = "<interface>Air</interface>")
    {
        launch(sensor, "<instrument>" + keys + "</instrument>");
    }
    QTimer *timer() { return sensor.findChild<QTimer *>(); }
    /// The sensor's own messages, without those of the bus.
    QStringList messages()
    {
        QStringList texts;
        for (const debugMessage &m : log.messages()) {
            if (m.UUID.toString() == sensor.debug->UUIDasString())
                texts.append(m.debugData);
        }
        log.clear();
        return texts;
    }
    /// What one more sample publishes, as "key value" with one decimal.
    QStringList sample()
    {
        results.clear();
        expire(timer());
        QStringList published;
        for (const QList<QVariant> &r : results)
            published.append(
                QStringLiteral("%1 %2").arg(r[0].toString(), QString::number(r[1].toDouble(), 'f', 1)));
        return published;
    }
};

const QStringList roomClimate{"SysTemperature 21.0", "SysPressure 1013.2", "SysHumidity 50.0"};
const QString bmeMessage = QStringLiteral("Device is a Bosch Sensortec BME-280");
const QString noBus = QStringLiteral("Failed to grab I2C bus");
}

class tst_bme280 : public QObject
{
    Q_OBJECT
private slots:
    void saysWhatItFindsAtTheStart_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<QStringList>("published");
        const QString bmp = QStringLiteral("Device is a Bosch Sensortec BMP-280");
        const QString unknown = QStringLiteral("Unknown device. Device will not be read.");
        QTest::newRow("BME280") << 0x60 << QStringList{bmeMessage, "Device initialised"} << roomClimate;
        // Kept: without its calibration a chip reads 0 degrees, 300 hPa and 0 %.
        QTest::newRow("BMP280") << 0x58 << QStringList{bmp}
                                << QStringList{"SysTemperature 0.0", "SysPressure 300.0", "SysHumidity 0.0"};
        QTest::newRow("silent") << 0xFF << QStringList{"Device unavailable."} << QStringList();
        QTest::newRow("unknown") << 0x61 << QStringList{unknown} << QStringList();
    }
    void saysWhatItFindsAtTheStart()
    {
        QFETCH(int, id);
        QFETCH(QStringList, published);
        fixture f{char(id)};
        f.host.refuseTransfers(id == 0xFF ? 1000 : 0);
        f.start();
        QTEST(f.messages(), "messages");
        QVERIFY(f.host.sleptMs() >= 1000);
        QCOMPARE(f.timer()->isActive(), !published.isEmpty());
        if (!published.isEmpty())
            QCOMPARE(f.sample(), published);
        QCOMPARE(f.host.closes(), f.host.opens());
    }

    void leavesOutAnImplausiblePressure()
    {
        fixture f(0x60, 0x77);
        f.host.setRegisters(0x77, 0xF7, QByteArray::fromHex("500000"));
        f.start("<interface>Air</interface><Address>119</Address><dataprepend>x</dataprepend>");
        QCOMPARE(f.sample(), (QStringList{"xTemperature 21.0", "xHumidity 50.0"}));
    }

    void configuresTheChipForEverySample()
    {
        fixture f;
        f.start();
        f.host.setRegisters(usualAddress, 0xF2, QByteArray(4, '\0')); // a reset in between
        const qint64 before = f.host.sleptMs();
        QCOMPARE(f.sample(), roomClimate);
        QCOMPARE(f.host.sleptMs() - before, 100);
        QCOMPARE(f.host.registers(usualAddress, 0xF2, 1).toHex(), QByteArray("05"));
        QCOMPARE(f.host.registers(usualAddress, 0xF4, 2).toHex(), QByteArray("b510"));
    }

    void publishesNothingForAFailedSample()
    {
        fixture f;
        f.host.refuseOpens(1000);
        f.start();
        QCOMPARE(f.messages(), QStringList{noBus});
        f.host.refuseOpens(0);
        QCOMPARE(f.sample(), QStringList()); // starts as soon as the bus is there
        QCOMPARE(f.messages(), (QStringList{bmeMessage, "Device initialised"}));
        f.host.refuseTransfers(1000);
        QCOMPARE(f.sample(), QStringList());
        QCOMPARE(f.messages(), QStringList{"Failed to query device\n"});
        f.host.refuseTransfers(0);
        QCOMPARE(f.sample(), roomClimate);
        QCOMPARE(f.host.closes(), f.host.opens());
    }
};

QTEST_GUILESS_MAIN(tst_bme280)
#include "tst_bme280.moc"
