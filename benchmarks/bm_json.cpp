// A telemetry message of 50 values beside a buffer with everything but the numbers prepared, and beside
// Qt's own writer.
#include "benchmarks/ratios.h"
#include "lib/encoders/thingsboardJson.h"
#include "lib/types/datastore.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>
#include <vector>

namespace {
constexpr int stored = 300;
constexpr int sent = 50;

struct fixture {
    datastore store;
    QStringList keys;

    fixture()
    {
        for (int i = 0; i < stored; ++i) {
            const QString key = QStringLiteral("card%1Sensor%2").arg(i % 7).arg(i);
            store.store(key, 20.0 + i / 7.0);
            if (i % (stored / sent) == 0)
                keys.append(key);
        }
    }
};

void message(benchmark::State &state)
{
    fixture f;
    const thingsboardJson encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(encoder.buildMessage(&f.store, f.keys));
}
BENCHMARK(message);

/// Keys quoted beforehand, values at known addresses, one buffer that is large enough.
class preparedMessage
{
public:
    explicit preparedMessage(const fixture &f)
    {
        for (const QString &key : f.keys)
            m_parts.push_back(
                {(m_parts.empty() ? "\"" : ",\"") + key.toLatin1() + "\":", *f.store.number(key)});
    }

    QByteArray build() const
    {
        char buffer[4096];
        char *to = append(buffer, "{\"ts\":");
        to = std::to_chars(to, to + 24, hostSystem::real().utcMs()).ptr;
        to = append(to, ",\"values\":{");
        for (const part &each : m_parts) {
            to = append(to, each.name);
            to = std::to_chars(to, to + 24, each.value, std::chars_format::general, 6).ptr;
        }
        to = append(to, "}}");
        return QByteArray(buffer, int(to - buffer));
    }

private:
    struct part {
        QByteArray name;
        double value;
    };

    static char *append(char *to, const QByteArray &text)
    {
        std::memcpy(to, text.constData(), size_t(text.size()));
        return to + text.size();
    }
    template <size_t size>
    static char *append(char *to, const char (&text)[size])
    {
        std::memcpy(to, text, size - 1);
        return to + size - 1;
    }

    std::vector<part> m_parts;
};

void messagePrepared(benchmark::State &state)
{
    fixture f;
    const preparedMessage prepared(f);
    if (prepared.build().size() != thingsboardJson().buildMessage(&f.store, f.keys).size())
        state.SkipWithError("not the same message");
    for (auto _ : state)
        benchmark::DoNotOptimize(prepared.build());
}
BENCHMARK(messagePrepared);

void messageJsonDocument(benchmark::State &state)
{
    const fixture f;
    for (auto _ : state) {
        QJsonObject values;
        for (const QString &key : f.keys)
            values.insert(key, QJsonValue::fromVariant(f.store.query(key)));
        const QJsonObject whole{
            {QStringLiteral("ts"), double(hostSystem::real().utcMs())}, {QStringLiteral("values"), values}};
        benchmark::DoNotOptimize(QJsonDocument(whole).toJson(QJsonDocument::Compact));
    }
}
BENCHMARK(messageJsonDocument);
}

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv,
        {
            {"json.50_of_300_vs_prepared", "message", "messagePrepared"},
            {"json.50_vs_QJsonDocument", "message", "messageJsonDocument"},
        });
}
