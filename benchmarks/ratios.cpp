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
    medianReporter()
        : ConsoleReporter(OO_None)
    {
    }

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

    /// In ns; 0 if it has not run.
    double median(const char *name) const
    {
        const auto found = m_medians.find(name);
        return found == m_medians.end() ? 0.0 : found->second;
    }

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
        const double work = reporter.median(row.work);
        const double floor = row.floor ? reporter.median(row.floor) : row.budgetNs;
        if (work > 0.0 && floor > 0.0)
            printRatio(row.name, work / floor);
        else
            ++missing;
    }
    return missing == 0 ? 0 : 1;
}
