// A log call that no sink wants beside a call that does nothing but look at the level.
#include "benchmarks/ratios.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/terminalDebugClient.h"

#include <benchmark/benchmark.h>

#include <atomic>

namespace {
std::atomic<int> wantedLevel{1};

/// The floor: takes what log() takes and tests the level.
__attribute__((noinline)) bool testLevel(const QString &text, int level)
{
    benchmark::DoNotOptimize(&text);
    return level <= wantedLevel.load(std::memory_order_relaxed);
}

void unwanted(benchmark::State &state)
{
    terminalDebugClient terminal; // logLevel 1, as in the program; registering prints one line
    terminal.logLevel = 1;
    debugComponent component;
    component.registerWithClient(&terminal);
    const QString text = QStringLiteral("Rising edge seen on - heatTimerOn");
    for (auto _ : state)
        component.log(text, 3);
}
BENCHMARK(unwanted);

/// Every text differs from the one before: it has to be kept.
void unwantedChanging(benchmark::State &state)
{
    debugComponent component;
    const QString texts[] = {QStringLiteral("Rising edge seen on - a"), QStringLiteral("Falling edge")};
    int i = 0;
    for (auto _ : state)
        component.log(texts[i ^= 1], 3);
}
BENCHMARK(unwantedChanging);

void branch(benchmark::State &state)
{
    const QString text = QStringLiteral("Rising edge seen on - heatTimerOn");
    for (auto _ : state)
        benchmark::DoNotOptimize(testLevel(text, 3));
}
BENCHMARK(branch);
}

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, {{"log.unwanted_vs_branch", "unwanted", "branch"}});
}
