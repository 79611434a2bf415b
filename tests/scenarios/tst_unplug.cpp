#include "tests/support/scenario.h"

#include <QTest>

namespace {
constexpr int periodMs = 400;
constexpr int timerPeriodMs = 1000;
constexpr int toleranceMs = 300; // less than a period: one sample left out is seen

struct part {
    const char *key; // published with every sample
    int periodMs = ::periodMs;
    const char *unplug = nullptr;
    const char *plug = nullptr;
};
constexpr part parts[] = {
    {"card1Power1Control", periodMs, "fault i2c-1 0x30 nak", "fault i2c-1 0x30 none"},
    {"thermostatPower1Control", periodMs, "fault i2c-2 0x30 nak", "fault i2c-2 0x30 none"},
    {"valvePower1Control", periodMs, "fault i2c-3 absent", "fault i2c-3 none"},
    {"SysTemperature", periodMs, "fault i2c-1 0x76 nak", "fault i2c-1 0x76 none"},
    {"flowtemperature", periodMs, "file 28-0000000000f1 absent", "file 28-0000000000f1 good"},
    {"returntemperature", periodMs, "file 28-0000000000a2 absent", "file 28-0000000000a2 good"},
    {"board", periodMs, "file temp absent", "file temp good"},
    {"cpu"},               // the board's other sensors
    {"card1Power1Demand"}, // control logic
    {"valvePower1Demand"}, // valve logic
    {"heatTimerOn", timerPeriodMs},
    {"waterTimerOn", timerPeriodMs},
};

QByteArray row(const char *title, const QByteArray &text)
{
    return QByteArray("<tr><th>") + title + "</th><td>" + text + "</td></tr>";
}
}

/// The whole installation, apart from uploads: a device that is unplugged costs nobody else a sample and
/// comes back by itself.
class tst_unplug : public QObject
{
    Q_OBJECT
private:
    int count(const char *key) { return m_run->values.count(QLatin1String(key)); }
    double last(const char *key) { return m_run->values.last(QLatin1String(key)).toDouble(); }

    /// Lets \a samples of the control logic pass, which needs no device.
    bool letPass(int samples)
    {
        const int until = count("card1Power1Demand") + samples;
        return scenario::waitFor([&] { return count("card1Power1Demand") >= until; });
    }

    /// The longest time without a sample since the one with the number \a first, in ms.
    qint64 longestGap(const char *key, int first)
    {
        const QList<qint64> times = m_run->values.times(QLatin1String(key)).mid(first);
        qint64 longest = m_run->values.now() - times.last();
        for (int i = 1; i < times.size(); ++i)
            longest = qMax(longest, times[i] - times[i - 1]);
        return longest;
    }

private slots:
    void initTestCase()
    {
        m_run = std::make_unique<scenario>();
        m_run->configure(scenario::installation({periodMs, periodMs, 500, 500, periodMs})
            + scenario::furnishings(periodMs));
        QVERIFY(m_run->start());
        m_run->tell("thermostat room on");
        for (const part &p : parts)
            QVERIFY2(scenario::waitFor([&] { return count(p.key) > 1; }), p.key);
    }

    void costsNobodyElseASample_data()
    {
        QTest::addColumn<int>("which");
        for (int i = 0; parts[i].unplug; ++i)
            QTest::newRow(parts[i].key) << i;
    }
    void costsNobodyElseASample()
    {
        QFETCH(int, which);
        const part &gone = parts[which];
        QMap<QByteArray, int> before;
        for (const part &p : parts)
            before[p.key] = count(p.key);
        m_run->tell(gone.unplug);
        QVERIFY(letPass(1)); // what was under way arrives
        const int silent = count(gone.key);
        QVERIFY(letPass(2));
        QCOMPARE(count(gone.key), silent);
        m_run->tell(gone.plug);
        QVERIFY(scenario::waitFor([&] { return count(gone.key) > silent; }));
        for (const part &p : parts) {
            const qint64 gap = longestGap(p.key, before[p.key] - 1);
            QVERIFY2(&p == &gone || gap < p.periodMs + toleranceMs,
                p.key + QByteArray(" misses a sample: ") + QByteArray::number(gap) + " ms");
        }
    }

    void showsItAll()
    {
        for (const QByteArray each : {"heatingFlow 0", "waterFlow 12", "systemPressure 2.25",
                 "flowTemperature 40", "returnTemperature 48.5", "airTemperature 31.44",
                 "airPressure 1013.22", "airHumidity 45.67", "processorLoad 1"})
            m_run->tell("fix " + each);
        const QByteArray whole = "<table>" + row("Heating", "0.00 l/min") + row("Hot Water", "12.00 l/min")
            + row("Pressure", "2.25 Bar") + row("Flow", "40.00 C") + row("Return", "48.50 C")
            + "<tr></tr><tr><th>Power</th></tr>" + row("Total Flow", "0.20 l/s") + row("Delta T", "-8.5 C")
            + row("Power", "-7.12 kW") + "<tr></tr><tr><th>Internal</th></tr>" + row("Temperature", "31.4 C")
            + row("Air Pressure", "1013.2 mBar") + row("Humidity", "45.67 %") + row("CPU Usage", "25.00 %");
        const auto shows = [&](const QByteArray &text) { return m_run->puppet("dump").contains(text); };
        QVERIFY2(scenario::waitFor([&] { return shows(whole); }), m_run->puppet("dump"));
        // kW: K * 4.186 kJ/(kg K) * l/s
        QVERIFY(scenario::waitFor([&] { return qAbs(last("power") + 7.1162) < 1e-4; }));
        QVERIFY(qAbs(last("deltaT") + 8.5) < 1e-4);
        QVERIFY(scenario::waitFor([&] { // never stands still; shown as it is published
            return shows(row("Memory Usage", QByteArray::number(last("procMem") / 1000.0, 'f', 2) + " MB"));
        }));
    }

    void cleanupTestCase()
    {
        QCOMPARE(m_run->values.garbage(), 0);
        QCOMPARE(m_run->leave(), QByteArray());
        m_run.reset();
    }

private:
    std::unique_ptr<scenario> m_run;
};

QTEST_GUILESS_MAIN(tst_unplug)
#include "tst_unplug.moc"
