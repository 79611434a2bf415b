#include "benchmarks/ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

namespace {
/// Shows the medians, and keeps the shortest time of each benchmark: what disturbs a repetition, another
/// program or a slower clock, only ever makes it longer.
class medianReporter : public benchmark::ConsoleReporter
{
public:
    medianReporter()
        : ConsoleReporter(OO_None)
    {
    }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        std::vector<Run> medians;
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                keep(run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args),
                    run.GetAdjustedCPUTime());
            else if (run.aggregate_name == "median")
                medians.push_back(run);
        }
        if (!medians.empty())
            ConsoleReporter::ReportRuns(medians);
    }

    /// In ns; 0 if it has not run.
    double shortest(const char *name) const
    {
        const auto found = m_shortest.find(name);
        return found == m_shortest.end() ? 0.0 : found->second;
    }

private:
    void keep(const std::string &name, double time)
    {
        const auto known = m_shortest.emplace(name, time).first;
        known->second = std::min(known->second, time);
    }

    std::map<std::string, double> m_shortest; // CPU time, ns
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
        const double work = reporter.shortest(row.work);
        const double floor = row.floor ? reporter.shortest(row.floor) : row.budgetNs;
        if (work > 0.0 && floor > 0.0)
            printRatio(row.name, work / floor);
        else
            ++missing;
    }
    return missing == 0 ? 0 : 1;
}
