// Replays what the chip maker's driver 3.4.3 did and computed (tests/data/bme280) against ours.
#include "lib/instruments/PCB/bme280Driver.h"

#include <QFile>
#include <QtTest>

#include <cmath>

namespace {
const char setA[] = "1D6EAD6632001B8F38D6D00B542B0FFFF9FF0C3020D18813004B520100172C031E";

QList<QStringList> rowsOf(const char *file)
{
    QFile f(QStringLiteral(CALORIX_SOURCE_DIR "/tests/data/bme280/") + QLatin1String(file));
    if (!f.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", file);
    QList<QStringList> rows;
    for (const QByteArray &line : f.readAll().trimmed().split('\n'))
        rows.append(QString::fromLatin1(line).split(QLatin1Char(',')));
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

struct step {
    explicit step(const QStringList &row)
        : call(row[2])
        , op(row[3])
        , reg(row[4].toInt(nullptr, 16))
        , length(row[5].toInt())
        , text(row[6])
        , delayMs(row[7].toUInt())
        , result(row[8].toInt())
    {
    }
    QString call, op;
    int reg, length;
    QString text;
    unsigned int delayMs;
    int result;
    QByteArray data() const { return hex(text); }
};

/// A bus that expects one recorded scenario and answers as recorded.
struct replay {
    QString scenario;
    std::vector<step> steps;
    std::size_t at = 0;
    QString mismatch;
    bool identified = false;
    bme280_dev dev;
    bme280_data result{-1.0, -1.0, -1.0};
    std::uint8_t mode = 0xFF;

    explicit replay(const QString &name)
        : scenario(name)
    {
        for (const QStringList &row : rowsOf("traces.csv")) {
            if (row[0] == scenario)
                steps.emplace_back(row);
        }
        dev.dev_id = 0x76;
        dev.intf = name.startsWith(QLatin1String("spi-")) ? bme280Spi : bme280I2c;
        dev.settings = name.startsWith(QLatin1String("select-")) ? bme280_settings{4, 3, 5, 4, 5}
                                                                 : bme280_settings{5, 5, 5, 4, 0};
        if (steps.front().call != QLatin1String("init"))
            dev.calib_data = calibration(hex(QLatin1String(setA)));
        if (!name.endsWith(QLatin1String("no-read-callback")))
            dev.read
                = [this](auto id, auto reg, auto *data, auto length) { return read(id, reg, data, length); };
        if (!name.endsWith(QLatin1String("no-write-callback")))
            dev.write
                = [this](auto id, auto reg, auto *data, auto length) { return write(id, reg, data, length); };
        if (!name.endsWith(QLatin1String("no-delay-callback")))
            dev.delay_ms = [this](std::uint32_t ms) {
                const step *s = next("delay");
                if (s && s->delayMs != ms)
                    fail(QStringLiteral("delay %1").arg(ms));
            };
    }

    void fail(const QString &what)
    {
        if (mismatch.isEmpty())
            mismatch = QStringLiteral("step %1: %2").arg(at).arg(what);
    }

    /// The step now due, when it is what happens; a mismatch is kept and ends the scenario.
    const step *next(const char *op)
    {
        if (at < steps.size() && steps[at].op == QLatin1String(op))
            return &steps[at++];
        fail(QStringLiteral("unexpected %1").arg(QLatin1String(op)));
        return nullptr;
    }

    std::int8_t read(std::uint8_t id, std::uint8_t reg, std::uint8_t *data, std::uint16_t length)
    {
        const step *s = next("read");
        if (!s || id != 0x76 || s->reg != reg || s->length != length) {
            fail(QStringLiteral("read of %1 x%2").arg(reg, 0, 16).arg(length));
            return 1;
        }
        const QByteArray answer = s->data();
        std::copy(answer.begin(), answer.end(), data);
        identified = identified || (reg == bme280IdRegister && answer == QByteArray("\x60"));
        return static_cast<std::int8_t>(s->result);
    }

    std::int8_t write(std::uint8_t id, std::uint8_t reg, const std::uint8_t *data, std::uint16_t length)
    {
        const step *s = next("write");
        const QByteArray sent(reinterpret_cast<const char *>(data), length);
        if (!s || id != 0x76 || s->reg != reg || s->length != length || s->data() != sent) {
            fail(QStringLiteral("write to %1").arg(reg, 0, 16) + QString::fromLatin1(sent.toHex()));
            return 1;
        }
        return static_cast<std::int8_t>(s->result);
    }

    std::int8_t setRegs(const QByteArray &pairs)
    {
        QByteArray regs;
        QByteArray values;
        for (int i = 0; i + 1 < pairs.size(); i += 2) {
            regs.append(pairs[i]);
            values.append(pairs[i + 1]);
        }
        const bool noRegisters = scenario == QLatin1String("set-regs-null-address");
        return bme280_set_regs(noRegisters ? nullptr : unsignedBytes(regs), unsignedBytes(values),
            static_cast<std::uint8_t>(noRegisters ? 1 : regs.size()), &dev);
    }

    std::int8_t call(const step &s)
    {
        const QByteArray data = s.data();
        const std::uint8_t argument = data.isEmpty() ? 0 : static_cast<std::uint8_t>(data[0]);
        std::array<std::uint8_t, 8> bytes{};
        const bool noDevice = scenario == QLatin1String("init-null-device");
        const bool noResult = scenario == QLatin1String("data-null-result");
        const std::map<QString, std::function<std::int8_t()>> calls{
            {"init", [&] { return bme280_init(noDevice ? nullptr : &dev); }},
            {"set_sensor_settings", [&] { return bme280_set_sensor_settings(argument, &dev); }},
            {"get_sensor_settings", [&] { return bme280_get_sensor_settings(&dev); }},
            {"set_sensor_mode", [&] { return bme280_set_sensor_mode(argument, &dev); }},
            {"get_sensor_mode", [&] { return bme280_get_sensor_mode(&mode, &dev); }},
            {"soft_reset", [&] { return bme280_soft_reset(&dev); }},
            {"get_sensor_data",
                [&] { return bme280_get_sensor_data(argument, noResult ? nullptr : &result, &dev); }},
            {"get_regs",
                [&] {
                    return bme280_get_regs(static_cast<std::uint8_t>(s.reg), bytes.data(),
                        static_cast<std::uint16_t>(s.length), &dev);
                }},
            {"set_regs", [&] { return setRegs(data); }},
        };
        return calls.at(s.call)();
    }

    void compareValue(const step &s)
    {
        const bme280_settings &o = dev.settings;
        const char settings[]
            = {char(o.osr_p), char(o.osr_t), char(o.osr_h), char(o.filter), char(o.standby_time)};
        if (s.call == QLatin1String("get_sensor_data") && !near(result, s.text.split(QLatin1Char('|'))))
            fail(QStringLiteral("wrong values"));
        if (s.call == QLatin1String("get_sensor_settings") && s.data() != QByteArray(settings, 5))
            fail(QStringLiteral("wrong settings"));
        if (s.call == QLatin1String("get_sensor_mode") && s.data() != QByteArray(1, char(mode)))
            fail(QStringLiteral("wrong mode"));
    }

    void run()
    {
        while (at < steps.size() && mismatch.isEmpty()) {
            const step &s = steps[at++];
            if (s.op == QLatin1String("delay"))
                continue; // the caller's own wait
            const std::int8_t code = call(s);
            while (at < steps.size() && steps[at].op == QLatin1String("value"))
                compareValue(steps[at++]);
            const step *expected = next("return");
            if (expected && expected->result != code)
                fail(QStringLiteral("returned %1").arg(code));
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
        QCOMPARE(r.dev.chip_id, r.identified ? bme280ChipId : std::uint8_t(0));
        if (scenario == QLatin1String("data-read-fails"))
            QCOMPARE(r.result.temperature, -1.0);
    }

    void computesAsRecorded_data()
    {
        QTest::addColumn<QStringList>("row");
        for (const QStringList &row : rowsOf("vectors.csv"))
            QTest::newRow(qPrintable(row[0] + QLatin1Char(' ') + row[1])) << row;
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
        const bme280_settings all1{1, 1, 1, 0, 0};
        const bme280_settings temperatureOnly{0, 7, 0, 0, 0}; // 1.25 ms + 16 * 2.3 ms
        QCOMPARE(bme280_cal_meas_delay(&all16), 112u);
        QCOMPARE(bme280_cal_meas_delay(&all1), 9u);
        QCOMPARE(bme280_cal_meas_delay(&temperatureOnly), 38u);
        QCOMPARE(bme280_cal_meas_delay(nullptr), 0u);
    }
};

QTEST_GUILESS_MAIN(tst_bme280Driver)
#include "tst_bme280Driver.moc"
