// Replays recorded bus traces of the driver's published interface, and what was computed from them
// (tests/data/bme280).
#include "lib/instruments/PCB/bme280Driver.h"

#include <QFile>
#include <QTest>

#include <cmath>

namespace {
const char setA[] = "1D6EAD6632001B8F38D6D00B542B0FFFF9FF0C3020D18813004B520100172C031E";

/// The rows of a file, by the text in their first column, in order.
QMap<QString, QList<QStringList>> rowsOf(const char *file)
{
    QFile f(QStringLiteral(CALORIX_SOURCE_DIR "/tests/data/bme280/") + file);
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", file);
    f.readLine(); // names of the columns
    QMap<QString, QList<QStringList>> rows;
    for (const QByteArray &line : f.readAll().trimmed().split('\n'))
        rows[line.left(line.indexOf(','))].append(QString(line).split(','));
    return rows;
}

QByteArray hex(const QString &text)
{
    return QByteArray::fromHex(text.toLatin1());
}

template <size_t n>
std::array<std::uint8_t, n> bytesAt(const QByteArray &bytes, int from = 0)
{
    std::array<std::uint8_t, n> result{};
    std::copy_n(bytes.begin() + from, qMin(int(n), bytes.size() - from), result.begin());
    return result;
}

bme280_calib_data calibration(const QString &text)
{
    bme280_calib_data calib;
    bme280Compensation::parseTemperaturePressure(bytesAt<26>(hex(text)), calib);
    bme280Compensation::parseHumidity(bytesAt<7>(hex(text), 26), calib);
    return calib;
}

bool near(const bme280_data &actual, const QStringList &temperaturePressureHumidity)
{
    const double values[] = {actual.temperature, actual.pressure, actual.humidity};
    return std::equal(std::begin(values), std::end(values), temperaturePressureHumidity.begin(),
        [](double value, const QString &expected) {
            return std::abs(value - expected.toDouble()) <= 1e-9 * std::abs(expected.toDouble());
        });
}

enum column { nameCol, stepCol, callCol, opCol, regCol, lengthCol, dataCol, delayCol, codeCol };
const QStringList noRow = QString(codeCol, ',').split(',');

QString transfer(const QString &op, int id, int reg, const QString &what)
{
    return QStringLiteral("%1 %2/%3: %4").arg(op).arg(id, 0, 16).arg(reg, 0, 16).arg(what);
}

/// What must happen by a recorded row. What a read brings, and whether a transfer works, is the answer to it.
QString textOf(const QStringList &row)
{
    const QString op = row[opCol];
    if (op == "read" || op == "write")
        return transfer(op, 0x76, row[regCol].toInt(nullptr, 16), row[op == "read" ? lengthCol : dataCol]);
    return op + ' ' + row[dataCol] + row[delayCol] + row[codeCol];
}

/// Makes the calls of one recorded scenario on a bus that answers as recorded.
struct replay {
    const QList<QStringList> rows;
    const QString scenario = rows[0][nameCol];
    QStringList seen; // what happened, as textOf() tells it
    bme280_dev dev;
    bme280_data measured{-1.0, -1.0, -1.0};
    std::uint8_t mode = 0xFF;

    explicit replay(const QList<QStringList> &recorded)
        : rows(recorded)
    {
        dev.dev_id = 0x76;
        dev.intf = scenario.startsWith("spi-") ? bme280Spi : bme280I2c;
        dev.settings = scenario.startsWith("select-") ? bme280_settings{4, 3, 5, 4, 5}
                                                      : bme280_settings{5, 5, 5, 4, 0};
        if (rows[0][callCol] != "init")
            dev.calib_data = calibration(setA);
        if (!scenario.endsWith("no-read-callback"))
            dev.read = [this](auto id, auto reg, auto *data, auto length) {
                const QStringList row = answerTo(transfer("read", id, reg, QString::number(length)));
                const QByteArray answer = hex(row[dataCol]);
                std::copy_n(answer.begin(), qMin(int(length), answer.size()), data);
                return static_cast<std::int8_t>(row[codeCol].toInt());
            };
        if (!scenario.endsWith("no-write-callback"))
            dev.write = [this](auto id, auto reg, auto *data, auto length) {
                const QByteArray bytes(reinterpret_cast<const char *>(data), length);
                const QStringList row = answerTo(transfer("write", id, reg, bytes.toHex().toUpper()));
                return static_cast<std::int8_t>(row[codeCol].toInt());
            };
        if (!scenario.endsWith("no-delay-callback"))
            dev.delay_ms = [this](std::uint32_t ms) { seen.append("delay " + QString::number(ms)); };
    }

    /// The recorded row of what happens now.
    QStringList answerTo(const QString &happening)
    {
        seen.append(happening);
        return rows.value(seen.size() - 1, noRow);
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
        return bme280_set_regs(noRegisters ? nullptr : reinterpret_cast<const std::uint8_t *>(regs.data()),
            reinterpret_cast<const std::uint8_t *>(values.data()),
            static_cast<std::uint8_t>(noRegisters ? 1 : regs.size()), &dev);
    }

    std::int8_t call(const QStringList &row)
    {
        const std::uint8_t argument = bytesAt<1>(hex(row[dataCol]))[0];
        const auto reg = static_cast<std::uint8_t>(row[regCol].toInt(nullptr, 16));
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
                [&] { return bme280_get_regs(reg, read.data(), quint16(row[lengthCol].toInt()), &dev); }},
            {"set_regs", [&] { return setRegs(hex(row[dataCol])); }},
        };
        return calls.at(row[callCol])();
    }

    bool holds(const QStringList &row) const
    {
        const bme280_settings &o = dev.settings;
        const std::array<std::uint8_t, 5> settings{o.osr_p, o.osr_t, o.osr_h, o.filter, o.standby_time};
        if (row[callCol] == "get_sensor_data")
            return near(measured, row[dataCol].split('|'));
        if (row[callCol] == "get_sensor_settings")
            return settings == bytesAt<5>(hex(row[dataCol]));
        return mode == bytesAt<1>(hex(row[dataCol]))[0];
    }

    /// The first thing that was not as recorded, or nothing.
    QString run()
    {
        while (seen.size() < rows.size()) {
            const QStringList row = answerTo(textOf(rows[seen.size()])); // a call, or the caller's own wait
            if (row[opCol] != "call")
                continue;
            const int code = call(row);
            const QStringList next = rows.value(seen.size(), noRow);
            if (next[opCol] == "value")
                seen.append(holds(next) ? textOf(next) : "other value");
            seen.append("return " + QString::number(code));
        }
        for (int i = 0; i < seen.size(); ++i) {
            const QString expected = textOf(rows.value(i, noRow));
            if (seen[i] != expected)
                return QStringLiteral("%1, %2: %3, not %4").arg(scenario).arg(i + 1).arg(seen[i], expected);
        }
        return {};
    }
};
}

class tst_bme280Driver : public QObject
{
    Q_OBJECT
private slots:
    void behavesAsRecorded()
    {
        const auto scenarios = rowsOf("traces.csv");
        QCOMPARE(scenarios.size(), 86);
        for (const QList<QStringList> &rows : scenarios) {
            replay r(rows);
            const QString difference = r.run();
            QVERIFY2(difference.isEmpty(), qPrintable(difference));
            QVERIFY(r.scenario != "data-read-fails" || r.measured.temperature == -1.0);
        }
    }

    void computesAsRecorded()
    {
        const auto vectors = rowsOf("vectors.csv");
        QCOMPARE(vectors.size(), 59);
        for (const QList<QStringList> &rows : vectors) {
            const QStringList &row = rows[0];
            const std::array<std::uint8_t, 8> registers = bytesAt<8>(hex(row[4]));
            bme280_dev dev;
            dev.calib_data = calibration(row[2] + row[3]);
            dev.read = [&](auto, auto, std::uint8_t *data, auto) -> std::int8_t {
                std::copy(registers.begin(), registers.end(), data);
                return 0;
            };
            dev.write = dev.read;
            dev.delay_ms = [](auto) {};
            const bme280Compensation::rawData raw = bme280Compensation::parseData(registers);
            const QList<quint32> codes{raw.pressure, raw.temperature, raw.humidity};
            QCOMPARE(codes, (QList<quint32>{row[5].toUInt(), row[6].toUInt(), row[7].toUInt()}));
            bme280_data result;
            QCOMPARE(int(bme280_get_sensor_data(bme280AllData, &result, &dev)), 0);
            QCOMPARE(dev.calib_data.t_fine, row[8].toInt());
            QVERIFY2(near(result, row.mid(9)), qPrintable(row.join(' ')));
        }
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
