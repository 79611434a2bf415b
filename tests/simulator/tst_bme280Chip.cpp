#include "simulator/bme280Chip.h"

#include "lib/instruments/PCB/bme280Driver.h"

#include <QTest>

namespace {
/// The chip with our driver on it, and the clock of both.
struct bench {
    bme280Chip chip{
        {0x1D, 0x6E, 0xAD, 0x66, 0x32, 0x00, 0x1B, 0x8F, 0x38, 0xD6, 0xD0, 0x0B, 0x54, 0x2B, 0x0F, 0xFF, 0xF9,
            0xFF, 0x0C, 0x30, 0x20, 0xD1, 0x88, 0x13, 0x00, 0x4B, 0x52, 0x01, 0x00, 0x17, 0x2C, 0x03, 0x1E}};
    bme280_dev dev;
    double nowMs = 1000.0;

    bench()
    {
        dev.read = [this](auto, std::uint8_t reg, std::uint8_t *data, std::uint16_t length) -> std::int8_t {
            chip.write(&reg, 1, nowMs);
            chip.read(data, length, nowMs);
            return 0;
        };
        dev.write = [this](auto, std::uint8_t reg, std::uint8_t *data, std::uint16_t length) -> std::int8_t {
            std::vector<std::uint8_t> message{reg};
            message.insert(message.end(), data, data + length);
            chip.write(message.data(), message.size(), nowMs);
            return 0;
        };
        dev.delay_ms = [this](std::uint32_t ms) { nowMs += ms; };
        dev.settings = {5, 5, 5, 4, 0};
        QCOMPARE(int(bme280_init(&dev)), bme280Ok);
    }

    /// Starts one measurement; what the chip holds \a afterMs.
    bme280_data measure(double afterMs)
    {
        bme280_data data;
        bme280_set_sensor_settings(0x0F, &dev);
        bme280_set_sensor_mode(bme280ForcedMode, &dev);
        nowMs += afterMs;
        bme280_get_sensor_data(bme280AllData, &data, &dev);
        return data;
    }
};
}

class tst_bme280Chip : public QObject
{
    Q_OBJECT
private slots:
    void deliversTheCodesOfItsClimate()
    {
        bench b;
        for (double t = -20.0; t <= 70.0; t += 7.3) { // a grid over what a house may see
            for (double p = 94000.0; p <= 109900.0; p += 2111.0) {
                const double h = 15.0 + t / 2.0 + (p - 94000.0) / 400.0;
                b.chip.setTarget(t, p, h);
                const bme280_data r = b.measure(100.0);
                QVERIFY(std::abs(r.temperature - t) < 0.00017 && std::abs(r.pressure - p) < 0.096
                    && std::abs(r.humidity - h) < 0.0035);
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_bme280Chip)
#include "tst_bme280Chip.moc"
