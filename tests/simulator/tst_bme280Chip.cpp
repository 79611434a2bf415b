#include "simulator/bme280Chip.h"

#include "lib/instruments/PCB/bme280Driver.h"

#include <QtTest>

namespace {
bme280Chip::calibrationBytes calibration()
{
    const QByteArray bytes
        = QByteArray::fromHex("1D6EAD6632001B8F38D6D00B542B0FFFF9FF0C3020D18813004B520100172C031E");
    bme280Chip::calibrationBytes result{};
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}

/// The chip with our driver on it, and the clock of both.
struct bench {
    bme280Chip chip{calibration()};
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
        if (bme280_init(&dev) != bme280Ok)
            qFatal("the chip does not initialise");
    }

    /// Applies the settings and starts one measurement.
    void start()
    {
        QCOMPARE(int(bme280_set_sensor_settings(0x0F, &dev)), 0);
        QCOMPARE(int(bme280_set_sensor_mode(bme280ForcedMode, &dev)), 0);
    }
    bme280_data result()
    {
        bme280_data data;
        bme280_get_sensor_data(bme280AllData, &data, &dev);
        return data;
    }
    QByteArray registers(std::uint8_t from, int count)
    {
        QByteArray bytes(count, '\0');
        bme280_get_regs(
            from, reinterpret_cast<std::uint8_t *>(bytes.data()), static_cast<std::uint16_t>(count), &dev);
        return bytes.toHex().toUpper();
    }
    void put(std::uint8_t reg, std::uint8_t value) { bme280_set_regs(&reg, &value, 1, &dev); }
};
}

class tst_bme280Chip : public QObject
{
    Q_OBJECT
private slots:
    void deliversTheCodesOfItsClimate()
    {
        bench b;
        const auto measure = [&b](double t, double p, double h) {
            b.chip.setTarget(t, p, h);
            b.start();
            b.nowMs += 100.0;
            const bme280_data r = b.result();
            return std::abs(r.temperature - t) < 0.00017 && std::abs(r.pressure - p) < 0.096
                && std::abs(r.humidity - h) < 0.0035;
        };
        QVERIFY(measure(-18.0, 99000.0, 85.0));
        QCOMPARE(b.registers(0xF7, 8), QByteArray("3BD9F0601650A37E"));
        for (double t = -20.0; t <= 70.0; t += 7.3) // a grid over what a house may see
            for (double p = 94000.0; p <= 109900.0; p += 2111.0)
                QVERIFY(measure(t, p, 15.0 + t / 2.0 + (p - 94000.0) / 400.0));
    }

    void forgetsEverythingAtAReset()
    {
        bench b;
        b.start();
        b.nowMs += 100.0;
        b.put(0xE0, 0xB5); // not the reset command
        QCOMPARE(b.registers(0xF2, 4), QByteArray("0500B410"));
        b.put(0xE0, 0xB6);
        QCOMPARE(b.registers(0xF2, 4) + b.registers(0xF7, 8), QByteArray("000100008000008000008000"));
        b.nowMs += 2.0;
        QCOMPARE(b.registers(0xE0, 1) + b.registers(0xF3, 1), QByteArray("0000"));
        b.chip.setStartUpMs(20.0);
        QCOMPARE(int(bme280_init(&b.dev)), int(bme280NvmBusy));
    }

    void takesItsTimeToMeasure()
    {
        for (const bool slow : {false, true}) {
            bench b;
            b.chip.setSlow(slow);
            b.start();
            b.nowMs += slow ? 112.0 : 97.0;
            QCOMPARE(b.registers(0xF2, 4), QByteArray("0508B510"));
            QCOMPARE(b.registers(0xF7, 8), QByteArray("8000008000008000"));
            b.nowMs += slow ? 1.0 : 2.0;
            QCOMPARE(b.registers(0xF2, 4), QByteArray("0500B410"));
            QVERIFY(b.registers(0xF7, 8) != QByteArray("8000008000008000"));
        }
    }
};

QTEST_GUILESS_MAIN(tst_bme280Chip)
#include "tst_bme280Chip.moc"
