// The store's update and query beside an unordered map that does the same work on values and elements.
#include "benchmarks/ratios.h"
#include "lib/types/datastore.h"

#include <benchmark/benchmark.h>

#include <unordered_map>

namespace {
QStringList makeKeys(int count)
{
    QStringList keys;
    for (int i = 0; i < count; ++i)
        keys.append(QStringLiteral("card%1Sensor%2Value").arg(i % 7).arg(i));
    return keys;
}

/// The floor: no lock, no time of update, no signal, no case rule.
class elementMap
{
public:
    explicit elementMap(const QStringList &keys)
    {
        for (const QString &key : keys)
            m_elements.emplace(key, datastoreElementType(key, 0.0));
    }

    datastoreElementType store(const QString &key, const QVariant &value)
    {
        datastoreElementType &element = m_elements.find(key)->second;
        benchmark::DoNotOptimize(value.canConvert<bool>() && element.value.toBool() != value.toBool());
        element.store(key, value);
        return element; // as the signal's argument
    }

    QVariant query(const QString &key) const { return m_elements.find(key)->second.value; }

private:
    std::unordered_map<QString, datastoreElementType> m_elements;
};

/// Keys as callers hold them: their own texts, not those inside the store.
QStringList copies(const QStringList &keys, bool otherCase)
{
    QStringList all;
    for (const QString &key : keys)
        all.append(otherCase ? key.toUpper() : QString(key.constData(), key.size()));
    return all;
}

void fill(datastore &store, const QStringList &keys)
{
    for (const QString &key : keys)
        store.store(key, 0.0);
}

template <class F>
void overKeys(benchmark::State &state, const QStringList &keys, F work)
{
    int i = 0;
    for (auto _ : state) {
        work(keys.at(i), 1.0 + i);
        i = i + 1 < keys.size() ? i + 1 : 0;
    }
}

void update(benchmark::State &state)
{
    const QStringList keys = makeKeys(int(state.range(0)));
    datastore store;
    fill(store, keys);
    overKeys(state, copies(keys, false), [&](const QString &key, double value) { store.store(key, value); });
}
BENCHMARK(update)->Arg(30)->Arg(300)->Arg(3000);

void updateMap(benchmark::State &state)
{
    const QStringList keys = makeKeys(int(state.range(0)));
    elementMap map(keys);
    overKeys(state, copies(keys, false),
        [&](const QString &key, double value) { benchmark::DoNotOptimize(map.store(key, value)); });
}
BENCHMARK(updateMap)->Arg(300);

void queryBySpelling(benchmark::State &state, bool otherCase)
{
    const QStringList keys = makeKeys(int(state.range(0)));
    datastore store;
    fill(store, keys);
    overKeys(state, copies(keys, otherCase),
        [&](const QString &key, double) { benchmark::DoNotOptimize(store.query(key)); });
}

void query(benchmark::State &state)
{
    queryBySpelling(state, false);
}
BENCHMARK(query)->Arg(300);

void queryOtherCase(benchmark::State &state)
{
    queryBySpelling(state, true);
}
BENCHMARK(queryOtherCase)->Arg(300);

void queryMap(benchmark::State &state)
{
    const QStringList keys = makeKeys(int(state.range(0)));
    const elementMap map(keys);
    overKeys(state, copies(keys, false),
        [&](const QString &key, double) { benchmark::DoNotOptimize(map.query(key)); });
}
BENCHMARK(queryMap)->Arg(300);
}

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv,
        {
            {"store.update.300_vs_map", "update/300", "updateMap/300"},
            {"store.update.3000_vs_30", "update/3000", "update/30"},
            {"store.query.300_vs_map", "query/300", "queryMap/300"},
            {"store.query_other_case.300_vs_map", "queryOtherCase/300", "queryMap/300"},
        });
}
