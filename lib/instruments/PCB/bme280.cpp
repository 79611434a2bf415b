#include "lib/instruments/PCB/bme280.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/support/configKeys.h"

#include <QTimer>

namespace {

constexpr quint8 driverDeviceId = 0x76; // for the driver only; the chip's address is i2cAddr
constexpr int powerUpMs = 1000;
constexpr int measureMs = 100; // all oversampled 16 times: 98 ms, typically

constexpr quint8 settingsOfASample
    = bme280SelectPressure | bme280SelectTemperature | bme280SelectHumidity | bme280SelectFilter;

constexpr double pascalPerHectopascal = 100.0;
constexpr double implausiblePressure = 1090.0; // hPa
}

bme280::bme280(datastore *store, QList<interface *> *ifaces, QObject *parent, const hostSystem &host)
    : instrument(store, ifaces, parent)
    , m_host(host)
{
    name = QStringLiteral("bme280");
    storagePrepend = QStringLiteral("Sys");
    debug->configure(QStringLiteral("BME-280 Sensor"), componentTypes::bme280);
}

void bme280::configureInstrument(QDomElement block)
{
    readKeys(block,
        {
            {"interface",
                [this](const QDomElement &element) {
                    i2cBus = dynamic_cast<i2cInterface *>(getInterface(element.text()));
                }},
            {"address", into(i2cAddr)},
            {"period", intoMs(period, 1, *debug)},
        });
}

void bme280::start()
{
    configureInstrument(configXML);
    if (!i2cBus) {
        debug->log(QStringLiteral("No I2C bus configured. Will not start instrument"));
        return;
    }
    debug->addChild(i2cBus->debug.get());
    startInterfacePower(i2cBus);
    sampleTimer = new QTimer(this);
    connect(sampleTimer, &QTimer::timeout, this, &bme280::takeSample);
    sampleTimer->start(period);
    connectChip();
}

/// On success the bus must be released.
bool bme280::takeBus()
{
    if (!i2cBus->grabBus()) {
        debug->log(QStringLiteral("Failed to grab I2C bus"));
        return false;
    }
    if (!i2cBus->setAddress(i2cAddr)) {
        debug->log(QStringLiteral("Failed to set address on I2C bus"));
        i2cBus->releaseBus();
        return false;
    }
    return true;
}

void bme280::connectChip()
{
    if (!takeBus())
        return;
    bindDriver();
    m_host.sleepMs(powerUpMs);
    identifyChip();
    i2cBus->releaseBus();
}

void bme280::bindDriver()
{
    i2cInterface *const bus = i2cBus;
    const hostSystem &host = m_host;
    dev = bme280_dev();
    dev.dev_id = driverDeviceId;
    dev.intf = bme280I2c;
    dev.read = [bus](quint8, quint8 reg, quint8 *data, quint16 length) -> qint8 {
        return bus->readRegister(reg, length, data) ? 0 : 1;
    };
    dev.write = [bus](quint8, quint8 reg, quint8 *data, quint16 length) -> qint8 {
        return bus->writeRegister(reg, length, data) ? 0 : 1;
    };
    dev.delay_ms = [&host](quint32 ms) { host.sleepMs(int(ms)); };
}

void bme280::identifyChip()
{
    if (!i2cBus->readRegister(bme280IdRegister, sizeof device, &device)) {
        debug->log(QStringLiteral("Device unavailable."));
        sampleTimer->stop();
    } else if (device == bmp280ChipId) {
        // Kept: the driver refuses a BMP280, which is then sampled without its calibration.
        initialise(QStringLiteral("BMP-280"));
    } else if (device == bme280ChipId) {
        initialise(QStringLiteral("BME-280"));
    } else {
        debug->log(QStringLiteral("Unknown device. Device will not be read."));
        sampleTimer->stop();
    }
}

void bme280::initialise(const QString &chipName)
{
    debug->log(QStringLiteral("Device is a Bosch Sensortec ") + chipName);
    calibrate();
}

/// A transfer may get lost: without the chip's calibration its readings mean nothing.
bool bme280::calibrate()
{
    if (!m_calibrated && bme280_init(&dev) == bme280Ok) {
        m_calibrated = true;
        debug->log(QStringLiteral("Device initialised"));
    }
    return m_calibrated;
}

void bme280::takeSample()
{
    if (!dev.read) { // the bus could not be taken so far
        connectChip();
        return;
    }
    if (!takeBus())
        return;
    const bool readable = device != bme280ChipId || calibrate();
    const std::optional<bme280_data> measured = readable ? measure() : std::nullopt;
    i2cBus->releaseBus();
    if (!measured) {
        debug->log(QStringLiteral("Failed to query device\n"));
        return;
    }
    const double pressure = measured->pressure / pascalPerHectopascal;
    decoderResult(QStringLiteral("Temperature"), measured->temperature);
    if (pressure < implausiblePressure)
        decoderResult(QStringLiteral("Pressure"), pressure);
    decoderResult(QStringLiteral("Humidity"), measured->humidity);
}

std::optional<bme280_data> bme280::measure()
{
    dev.settings.osr_p = bme280Oversampling16;
    dev.settings.osr_t = bme280Oversampling16;
    dev.settings.osr_h = bme280Oversampling16;
    dev.settings.filter = bme280Filter16;
    if (bme280_set_sensor_settings(settingsOfASample, &dev) != bme280Ok)
        return std::nullopt;
    if (bme280_set_sensor_mode(bme280ForcedMode, &dev) != bme280Ok)
        return std::nullopt;
    m_host.sleepMs(measureMs);
    bme280_data measured;
    if (bme280_get_sensor_data(bme280AllData, &measured, &dev) != bme280Ok)
        return std::nullopt;
    return measured;
}
