#include "simulator/bme280Chip.h"

#include "lib/instruments/PCB/bme280Driver.h"

#include <QtTest>

namespace {
const char setA[] = "1D6EAD6632001B8F38D6D00B542B0FFFF9FF0C3020D18813004B520100172C031E";

bme280Chip::calibrationBytes calibration(const QByteArray &hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    bme280Chip::calibrationBytes result{};
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}

/// The chip with our driver on it, and the clock of both.
struct bench {
    bme280Chip chip;
    bme280_dev dev;
    double nowMs = 1000.0;

    explicit bench(const QByteArray &calibrationHex = setA)
        : chip(calibration(calibrationHex))
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

    /// Applies the settings and starts one measurement, or the normal mode.
    void start(std::uint8_t mode = bme280ForcedMode)
    {
        QCOMPARE(int(bme280_set_sensor_settings(0x0F, &dev)), 0);
        QCOMPARE(int(bme280_set_sensor_mode(mode, &dev)), 0);
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
    void deliversTheCodesOfItsClimate_data()
    {
        QTest::addColumn<QByteArray>("calibrationHex");
        QTest::addColumn<double>("temperature");
        QTest::addColumn<double>("pressure");
        QTest::addColumn<double>("humidity");
        QTest::addColumn<QByteArray>("registers");
        QTest::newRow("living room") << QByteArray("706B436718FC7D8E43D6D00B270B8C00F9FF8C3CF8C67017004B"
                                                   "6A01001329031E")
                                     << 21.0 << 101325.0 << 50.0 << QByteArray("6381207BBF0071C0");
        QTest::newRow("frost") << QByteArray(setA) << -18.0 << 99000.0 << 85.0
                               << QByteArray("3BD9F0601650A37E");
        QTest::newRow("winter day") << QByteArray("896E696832004591ACD6D00BC91FA9FFF9FFAC260AD8BD10004B"
                                                  "8A01000F28031E")
                                    << 4.0 << 97500.0 << 70.0 << QByteArray("4D79307199906C76");
        QTest::newRow("boiler") << QByteArray("6C6E77663200A89227D5D00B6F18CAFFF9FFAC260AD8BD10004B"
                                              "650100140B001E")
                                << 62.5 << 100000.0 << 12.0 << QByteArray("5D83209F33905A86");
        QTest::newRow("high pressure") << QByteArray("5D704A6A32007291C7D6D00B5F1C1F00F9FFAC260AD8BD10004B"
                                                     "7501001225031E")
                                       << 23.4 << 109530.0 << 40.0 << QByteArray("43E48081F93064DB");
    }
    void deliversTheCodesOfItsClimate()
    {
        QFETCH(QByteArray, calibrationHex);
        QFETCH(double, temperature);
        QFETCH(double, pressure);
        QFETCH(double, humidity);
        bench b(calibrationHex);
        const auto measure = [&b](double t, double p, double h) {
            b.chip.setTarget(t, p, h);
            b.start();
            b.nowMs += 100.0;
            const bme280_data r = b.result();
            return std::abs(r.temperature - t) < 0.00017 && std::abs(r.pressure - p) < 0.096
                && std::abs(r.humidity - h) < 0.0035;
        };
        QVERIFY(measure(temperature, pressure, humidity));
        QTEST(b.registers(0xF7, 8), "registers");
        for (double t = -20.0; t <= 70.0; t += 7.3) // a grid over what a house may see
            for (double p = 94000.0; p <= 109900.0; p += 2111.0)
                QVERIFY(measure(t, p, 15.0 + t / 2.0 + (p - 94000.0) / 400.0));
    }

    void takesItsTimeToMeasure_data()
    {
        QTest::addColumn<bool>("slow");
        QTest::addColumn<double>("afterMs");
        QTest::addColumn<bool>("done");
        QTest::newRow("typical, 97 ms") << false << 97.0 << false;
        QTest::newRow("typical, 99 ms") << false << 99.0 << true;
        QTest::newRow("slow, 100 ms") << true << 100.0 << false;
        QTest::newRow("slow, 112 ms") << true << 112.0 << false;
        QTest::newRow("slow, 113 ms") << true << 113.0 << true;
    }
    void takesItsTimeToMeasure()
    {
        QFETCH(bool, slow);
        QFETCH(double, afterMs);
        QFETCH(bool, done);
        bench b;
        b.chip.setSlow(slow);
        b.start();
        b.nowMs += afterMs;
        QCOMPARE(b.registers(0xF2, 4), QByteArray(done ? "0500B410" : "0508B510"));
        QCOMPARE(b.registers(0xF7, 8) != QByteArray("8000008000008000"), done);
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

    void leavesSkippedQuantitiesAtTheirResetValue()
    {
        bench b;
        b.chip.setTarget(25.0, 100000.0, 50.0);
        b.put(0xF4, 0xA1); // temperature only
        b.nowMs += 33.0;   // 1 + 2 * 16 ms
        QCOMPARE(b.registers(0xF7, 3) + b.registers(0xFD, 2), QByteArray("8000008000"));
        QVERIFY(std::abs(b.result().temperature - 25.0) < 0.001);
    }

    void protectsItsControlRegistersWhileAModeChangeWaits()
    {
        bench b;
        b.start();
        b.put(0xF4, 0x24); // to sleep, x1: carried out at the end of the measurement
        b.put(0xF4, 0x27);
        b.put(0xF2, 0x01);
        QCOMPARE(b.registers(0xF2, 4), QByteArray("0508B510"));
        b.nowMs += 98.0;
        QCOMPARE(b.registers(0xF2, 4), QByteArray("05002410"));
        // Humidity oversampling waits for the next write of ctrl_meas.
        b.put(0xF2, 0x00);
        QCOMPARE(b.chip.measuringMs(), 1.0 + 2.0 + 2.5 + 32.5);
        b.put(0xF4, 0x24);
        QCOMPARE(b.chip.measuringMs(), 1.0 + 2.0 + 2.5);
    }

    void filtersInNormalModeUntilItIsConfiguredAgain()
    {
        bench b;
        b.chip.setTarget(20.0, 100000.0, 40.0);
        b.start(bme280NormalMode);
        b.nowMs += 98.0;
        b.result();
        b.chip.setTarget(36.0, 100000.0, 60.0);
        b.nowMs += 98.5;                                         // standby 0.5 ms and the next measurement
        QVERIFY(std::abs(b.result().temperature - 21.0) < 0.02); // a sixteenth of the way
        b.nowMs += 1e9;
        QVERIFY(std::abs(b.result().temperature - 36.0) < 0.001);
        b.chip.setTarget(20.0, 100000.0, 40.0);
        b.put(0xF5, 0x10);
        b.nowMs += 98.5;
        QVERIFY(std::abs(b.result().temperature - 20.0) < 0.001);
    }

    void takesRegisterAndValuePairs()
    {
        bench b;
        const std::uint8_t pairs[] = {0xF5, 0x10, 0xF2, 0x05, 0xF4, 0xB4};
        b.chip.write(pairs, sizeof pairs, b.nowMs);
        QCOMPARE(b.registers(0xF2, 4), QByteArray("0500B410"));
        QCOMPARE(b.registers(0xD0, 1), QByteArray("60"));
    }
};

QTEST_GUILESS_MAIN(tst_bme280Chip)
#include "tst_bme280Chip.moc"
