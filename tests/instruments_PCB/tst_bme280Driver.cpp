// Replays what the chip maker's driver 3.4.3 did and computed (tests/data/bme280) against ours.
#include "lib/instruments/PCB/bme280Driver.h"

#include <QFile>
#include <QtTest>

#include <cmath>

namespace {
const char setA[] = "1D6EAD6632001B8F38D6D00B542B0FFFF9FF0C3020D18813004B520100172C031E";

QList<QStringList> rowsOf(const char *file)
{
    QFile f(QStringLiteral(CALORIX_SOURCE_DIR "/tests/data/bme280/") + file);
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", file);
    QList<QStringList> rows;
    for (const QByteArray &line : f.readAll().trimmed().split('\n'))
        rows.append(QString(line).split(','));
    rows.removeFirst();
    return rows;
}

QByteArray hex(const QString &text)
{
    return QByteArray::fromHex(text.toLatin1());
}

const std::uint8_t *unsignedBytes(const QByteArray &bytes)
{
    return reinterpret_cast<const std::uint8_t *>(bytes.constData());
}

bme280_calib_data calibration(const QByteArray &bytes)
{
    std::array<std::uint8_t, 26> tp{};
    std::array<std::uint8_t, 7> h{};
    std::copy_n(unsignedBytes(bytes), tp.size(), tp.begin());
    std::copy_n(unsignedBytes(bytes) + tp.size(), h.size(), h.begin());
    bme280_calib_data calib;
    bme280Compensation::parseTemperaturePressure(tp, calib);
    bme280Compensation::parseHumidity(h, calib);
    return calib;
}

bool near(double actual, double expected)
{
    return std::abs(actual - expected) <= 1e-9 * std::abs(expected);
}

bool near(const bme280_data &actual, const QStringList &temperaturePressureHumidity)
{
    return near(actual.temperature, temperaturePressureHumidity[0].toDouble())
        && near(actual.pressure, temperaturePressureHumidity[1].toDouble())
        && near(actual.humidity, temperaturePressureHumidity[2].toDouble());
}

enum column { nameCol, stepCol, callCol, opCol, regCol, lengthCol, dataCol, delayCol, codeCol };

/// A bus that expects one recorded scenario and answers as recorded.
struct replay {
    QString scenario;
    QList<QStringList> steps;
    QString mismatch;
    bme280_dev dev;
    bme280_data measured{-1.0, -1.0, -1.0};
    std::uint8_t mode = 0xFF;

    explicit replay(const QString &name)
        : scenario(name)
    {
        for (const QStringList &row : rowsOf("traces.csv")) {
            if (row[nameCol] == name)
                steps.append(row);
        }
        dev.dev_id = 0x76;
        dev.intf = name.startsWith("spi-") ? bme280Spi : bme280I2c;
        dev.settings
            = name.startsWith("select-") ? bme280_settings{4, 3, 5, 4, 5} : bme280_settings{5, 5, 5, 4, 0};
        if (steps[0][callCol] != "init")
            dev.calib_data = calibration(hex(setA));
        if (!name.endsWith("no-read-callback"))
            dev.read = [this](auto id, auto reg, auto *data, auto length) {
                const QStringList step = next("read", id, reg, length);
                const QByteArray answer = hex(step[dataCol]);
                std::copy(answer.begin(), answer.end(), data);
                return static_cast<std::int8_t>(step[codeCol].toInt());
            };
        if (!name.endsWith("no-write-callback"))
            dev.write = [this](auto id, auto reg, auto *data, auto length) {
                const QStringList step = next("write", id, reg, length);
                expect(hex(step[dataCol]) == QByteArray(reinterpret_cast<const char *>(data), length),
                    "other bytes");
                return static_cast<std::int8_t>(step[codeCol].toInt());
            };
        if (!name.endsWith("no-delay-callback"))
            dev.delay_ms
                = [this](std::uint32_t ms) { expect(next("delay")[delayCol].toUInt() == ms, "other delay"); };
    }

    /// The first mismatch is kept and ends the scenario.
    void expect(bool holds, const QString &what)
    {
        if (!holds && mismatch.isEmpty())
            mismatch = QStringLiteral("%1 steps before the end: %2").arg(steps.size()).arg(what);
    }

    /// The step now due; it must be what happens.
    QStringList next(const QString &happens, int id = 0x76, int reg = 0, int length = 0)
    {
        const QStringList none{"", "", "", "", "", "", "", "", "1"};
        const QStringList step = steps.isEmpty() ? none : steps.takeFirst();
        const bool isDue = step[opCol] == happens && id == 0x76 && step[regCol].toInt(nullptr, 16) == reg
            && (length == 0 || step[lengthCol].toInt() == length);
        expect(isDue, QStringLiteral("unexpected %1 of %2 x%3").arg(happens).arg(reg, 0, 16).arg(length));
        return isDue ? step : none;
    }

    std::int8_t setRegs(const QByteArray &pairs)
    {
        QByteArray regs;
        QByteArray values;
        for (int i = 0; i + 1 < pairs.size(); i += 2) {
            regs.append(pairs[i]);
            values.append(pairs[i + 1]);
        }
        const bool noRegisters = scenario == "set-regs-null-address";
        return bme280_set_regs(noRegisters ? nullptr : unsignedBytes(regs), unsignedBytes(values),
            static_cast<std::uint8_t>(noRegisters ? 1 : regs.size()), &dev);
    }

    std::int8_t call(const QStringList &step)
    {
        const QByteArray data = hex(step[dataCol]);
        const std::uint8_t argument = data.isEmpty() ? 0 : static_cast<std::uint8_t>(data[0]);
        const auto reg = static_cast<std::uint8_t>(step[regCol].toInt(nullptr, 16));
        bme280_data *const target = scenario == "data-null-result" ? nullptr : &measured;
        std::array<std::uint8_t, 8> read{};
        const std::map<QString, std::function<std::int8_t()>> calls{
            {"init", [&] { return bme280_init(scenario == "init-null-device" ? nullptr : &dev); }},
            {"set_sensor_settings", [&] { return bme280_set_sensor_settings(argument, &dev); }},
            {"get_sensor_settings", [&] { return bme280_get_sensor_settings(&dev); }},
            {"set_sensor_mode", [&] { return bme280_set_sensor_mode(argument, &dev); }},
            {"get_sensor_mode", [&] { return bme280_get_sensor_mode(&mode, &dev); }},
            {"soft_reset", [&] { return bme280_soft_reset(&dev); }},
            {"get_sensor_data", [&] { return bme280_get_sensor_data(argument, target, &dev); }},
            {"get_regs",
                [&] { return bme280_get_regs(reg, read.data(), quint16(step[lengthCol].toInt()), &dev); }},
            {"set_regs", [&] { return setRegs(data); }},
        };
        return calls.at(step[callCol])();
    }

    void compareValue(const QStringList &step)
    {
        const bme280_settings &o = dev.settings;
        const std::array<std::uint8_t, 5> settings{o.osr_p, o.osr_t, o.osr_h, o.filter, o.standby_time};
        if (step[callCol] == "get_sensor_data")
            expect(near(measured, step[dataCol].split('|')), "wrong values");
        else if (step[callCol] == "get_sensor_settings")
            expect(std::equal(settings.begin(), settings.end(), unsignedBytes(hex(step[dataCol]))),
                "wrong settings");
        else
            expect(hex(step[dataCol]) == QByteArray(1, char(mode)), "wrong mode");
    }

    void run()
    {
        while (!steps.isEmpty() && mismatch.isEmpty()) {
            const QStringList step = steps.takeFirst();
            if (step[opCol] == "delay")
                continue; // the caller's own wait
            const std::int8_t code = call(step);
            while (!steps.isEmpty() && steps[0][opCol] == "value")
                compareValue(steps.takeFirst());
            expect(next("return")[codeCol].toInt() == code, QStringLiteral("returned %1").arg(code));
        }
    }
};
}

class tst_bme280Driver : public QObject
{
    Q_OBJECT
private slots:
    void behavesAsRecorded_data()
    {
        QTest::addColumn<QString>("scenario");
        QStringList names;
        for (const QStringList &row : rowsOf("traces.csv")) {
            if (!names.contains(row[0]))
                names.append(row[0]);
        }
        QCOMPARE(names.size(), 86);
        for (const QString &name : names)
            QTest::newRow(qPrintable(name)) << name;
    }
    void behavesAsRecorded()
    {
        QFETCH(QString, scenario);
        replay r(scenario);
        r.run();
        QVERIFY2(r.mismatch.isEmpty(), qPrintable(r.mismatch));
        if (scenario == "data-read-fails")
            QCOMPARE(r.measured.temperature, -1.0);
    }

    void computesAsRecorded_data()
    {
        QTest::addColumn<QStringList>("row");
        for (const QStringList &row : rowsOf("vectors.csv"))
            QTest::newRow(qPrintable(row[0] + ' ' + row[1])) << row;
    }
    void computesAsRecorded()
    {
        QFETCH(QStringList, row);
        bme280_dev dev;
        dev.calib_data = calibration(hex(row[2] + row[3]));
        const QByteArray registers = hex(row[4]);
        dev.read = [&](auto, auto, std::uint8_t *data, auto) -> std::int8_t {
            std::copy(registers.begin(), registers.end(), data);
            return 0;
        };
        dev.write = dev.read;
        dev.delay_ms = [](auto) {};
        std::array<std::uint8_t, 8> bytes{};
        std::copy(registers.begin(), registers.end(), bytes.begin());
        const bme280Compensation::rawData raw = bme280Compensation::parseData(bytes);
        QCOMPARE(raw.pressure, row[5].toUInt());
        QCOMPARE(raw.temperature, row[6].toUInt());
        QCOMPARE(raw.humidity, row[7].toUInt());
        bme280_data result;
        QCOMPARE(int(bme280_get_sensor_data(bme280AllData, &result, &dev)), 0);
        QCOMPARE(dev.calib_data.t_fine, row[8].toInt());
        QVERIFY2(near(result, row.mid(9)), "wrong values");
    }

    void knowsTheLongestMeasuringTime()
    {
        const bme280_settings all16{5, 5, 5, 4, 0};
        const bme280_settings temperatureOnly{0, 7, 0, 0, 0}; // 1.25 ms + 16 * 2.3 ms
        QCOMPARE(bme280_cal_meas_delay(&all16), 112u);
        QCOMPARE(bme280_cal_meas_delay(&temperatureOnly), 38u);
        QCOMPARE(bme280_cal_meas_delay(nullptr), 0u);
    }
};

QTEST_GUILESS_MAIN(tst_bme280Driver)
#include "tst_bme280Driver.moc"
