#include "lib/instruments/PCB/bme280.h"

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/i2cInterface.h"
#include "simulator/bme280Chip.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <cerrno>

namespace {
bme280Chip::calibrationBytes calibration()
{
    const QByteArray bytes
        = QByteArray::fromHex("706B436718FC7D8E43D6D00B270B8C00F9FF8C3CF8C67017004B6A01001329031E");
    bme280Chip::calibrationBytes result{};
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}

/// A machine with one simulated chip on its bus.
class chipHost : public fakeHost
{
public:
    explicit chipHost(quint8 id)
        : chip(calibration(), id)
    {
    }

    mutable bme280Chip chip;
    int address = 0x76;
    bool busThere = true;
    int transfersLeft = 1000000; // then the chip is silent
    mutable int opened = 0;      // descriptors now open

    using fakeHost::read;
    using fakeHost::write;
    int open(const char *, int) const override { return busThere ? 1000 + opened++ : -1; }
    int close(int) const override
    {
        --opened;
        return 0;
    }
    int ioctl(int, unsigned long, long argument) const override
    {
        m_selected = int(argument);
        return argument > 0x7F ? -1 : 0;
    }
    ssize_t read(int, void *data, size_t length) const override
    {
        if (!answers())
            return -1;
        chip.read(static_cast<quint8 *>(data), length, uptimeMs());
        return ssize_t(length);
    }
    ssize_t write(int, const void *data, size_t length) const override
    {
        if (!answers())
            return -1;
        chip.write(static_cast<const quint8 *>(data), length, uptimeMs());
        return ssize_t(length);
    }

private:
    bool answers() const { return m_selected == address && ++m_transfers <= transfersLeft; }
    mutable int m_transfers = 0;
    mutable int m_selected = 0;
};

struct fixture {
    chipHost host;
    i2cInterface bus{host};
    QList<interface *> interfaces{&bus};
    logSink log;
    bme280 sensor{nullptr, &interfaces, nullptr, host.system()};
    QSignalSpy results{&sensor, &instrument::resultAvailable};

    explicit fixture(quint8 id = 0x60)
        : host(id)
    {
        bus.configure(xml("<interface><name>Air</name><device>/dev/i2c-1</device></interface>"));
        sensor.debug->registerWithClient(&log);
        host.chip.setTarget(21.0, 101325.0, 50.0);
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
        QTest::addColumn<int>("transfers");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<bool>("samples");
        const QString bmp = QStringLiteral("Device is a Bosch Sensortec BMP-280");
        const QString unknown = QStringLiteral("Unknown device. Device will not be read.");
        QTest::newRow("BME280") << 0x60 << 1000 << QStringList{bmeMessage, "Device initialised"} << true;
        QTest::newRow("BMP280") << 0x58 << 1000 << QStringList{bmp} << true;
        QTest::newRow("unknown") << 0x61 << 1000 << QStringList{unknown} << false;
        QTest::newRow("silent") << 0x60 << 0 << QStringList{"Device unavailable."} << false;
        QTest::newRow("silent after its id") << 0x60 << 4 << QStringList{bmeMessage} << true;
    }
    void saysWhatItFindsAtTheStart()
    {
        QFETCH(int, id);
        QFETCH(bool, samples);
        QFETCH(int, transfers);
        fixture f{quint8(id)};
        f.host.transfersLeft = transfers;
        f.start();
        QTEST(f.messages(), "messages");
        QCOMPARE(f.timer()->isActive(), samples);
        QCOMPARE(f.timer()->interval(), 5000);
        QCOMPARE(f.host.opened, 0);
        QVERIFY(f.host.sleptMs() >= 1000);
    }

    void publishesWhatTheChipMeasures_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<int>("address");
        QTest::addColumn<double>("pressure");
        QTest::addColumn<QStringList>("published");
        const QByteArray air = "<interface>Air</interface>";
        QTest::newRow("defaults") << air << 118 << 101325.0 << roomClimate;
        QTest::newRow("other address and prefix")
            << air + "<Address>119</Address><dataprepend>x</dataprepend>" << 119 << 101325.0
            << QStringList{"xTemperature 21.0", "xPressure 1013.2", "xHumidity 50.0"};
        QTest::newRow("just plausible")
            << air << 118 << 108997.0
            << QStringList{"SysTemperature 21.0", "SysPressure 1090.0", "SysHumidity 50.0"};
        QTest::newRow("implausible pressure")
            << air << 118 << 109010.0 << QStringList{"SysTemperature 21.0", "SysHumidity 50.0"};
    }
    void publishesWhatTheChipMeasures()
    {
        QFETCH(QByteArray, keys);
        QFETCH(int, address);
        QFETCH(double, pressure);
        fixture f;
        f.host.address = address;
        f.host.chip.setTarget(21.0, pressure, 50.0);
        f.start(keys + "<period>1000</period>");
        QCOMPARE(f.timer()->interval(), 1000);
        const qint64 before = f.host.sleptMs();
        QTEST(f.sample(), "published");
        QCOMPARE(f.host.sleptMs() - before, 100);
        QCOMPARE(f.host.opened, 0);
    }

    void goesOnAfterAResetInBetween()
    {
        fixture f;
        f.start();
        QCOMPARE(f.sample(), roomClimate);
        f.host.chip.reset(f.host.uptimeMs());
        f.host.advance(5000);
        QCOMPARE(f.sample(), roomClimate);
    }

    void publishesNothingForAFailedSample()
    {
        fixture f;
        f.start();
        f.messages();
        f.host.address = 0x77; // nobody answers any more
        QCOMPARE(f.sample(), QStringList());
        QCOMPARE(f.messages(), QStringList{"Failed to query device\n"});
        f.host.busThere = false;
        QCOMPARE(f.sample(), QStringList());
        QCOMPARE(f.messages(), QStringList{noBus});
        f.host.busThere = true;
        f.host.address = 0x76;
        QCOMPARE(f.sample(), roomClimate);
        QCOMPARE(f.host.opened, 0);
    }

    // Kept: without its calibration a chip reads 0 degrees, 300 hPa and 0 %.
    void samplesABmp280WithoutItsCalibration()
    {
        fixture f(0x58);
        f.start();
        QCOMPARE(f.sample(), (QStringList{"SysTemperature 0.0", "SysPressure 300.0", "SysHumidity 0.0"}));
    }

    void switchesTheSupplyOfItsBusOn()
    {
        fixture f;
        f.bus.configure(xml("<interface><name>Air</name><power><pin>4</pin></power></interface>"));
        f.start();
        QCOMPARE(f.results.count(), 1);
        QCOMPARE(f.results[0], (QList<QVariant>{"Syspower", true}));
    }

    void startsLaterWhenTheBusIsNotThereYet()
    {
        fixture f;
        f.host.busThere = false;
        f.start();
        QCOMPARE(f.messages(), QStringList{noBus});
        f.host.busThere = true;
        QCOMPARE(f.sample(), QStringList());
        QCOMPARE(f.messages(), (QStringList{bmeMessage, "Device initialised"}));
        QCOMPARE(f.sample(), roomClimate);
    }

    void needsAnAddressAndABus()
    {
        fixture addressless;
        addressless.start("<interface>Air</interface><address>400</address>");
        QCOMPARE(addressless.messages(), QStringList{"Failed to set address on I2C bus"});
        QCOMPARE(addressless.host.opened, 0);
        fixture busless;
        busless.start("<interface>Water</interface>");
        QVERIFY(busless.messages().contains("No I2C bus configured. Will not start instrument"));
        QVERIFY(!busless.timer());
    }
};

QTEST_GUILESS_MAIN(tst_bme280)
#include "tst_bme280.moc"
