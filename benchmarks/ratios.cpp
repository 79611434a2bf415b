#include "benchmarks/ratios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace {
/// Shows the medians and keeps them by the benchmark's name.
class medianReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        std::vector<Run> medians;
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median")
                continue;
            m_medians[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args)]
                = run.GetAdjustedCPUTime();
            medians.push_back(run);
        }
        if (!medians.empty())
            ConsoleReporter::ReportRuns(medians);
    }

    const std::map<std::string, double> &medians() const { return m_medians; }

private:
    std::map<std::string, double> m_medians; // CPU time, ns
};
}

void printRatio(const char *name, double value)
{
    std::printf("RATIO %s %.4g\n", name, value);
    std::fflush(stdout);
}

int runBenchmarks(int argc, char **argv, const std::vector<ratio> &rows)
{
    std::vector<char *> arguments(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=11", "--benchmark_min_time=0.05",
        "--benchmark_enable_random_interleaving=true", "--benchmark_counters_tabular=true"};
    for (std::string &each : defaults)
        arguments.insert(arguments.begin() + 1, each.data());
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    medianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    int missing = 0;
    for (const ratio &row : rows) {
        const auto work = reporter.medians().find(row.work);
        const auto floor = reporter.medians().find(row.floor);
        if (work == reporter.medians().end() || floor == reporter.medians().end())
            ++missing;
        else
            printRatio(row.name, work->second / floor->second);
    }
    return missing == 0 ? 0 : 1;
}
