#ifndef RATIOS_H
#define RATIOS_H

#include <vector>

/// What a limit is held against: the time of one benchmark divided by that of another, its floor.
struct ratio {
    const char *name = nullptr; // as in limits.txt
    const char *work = nullptr;
    const char *floor = nullptr; // null: held against budgetNs
    double budgetNs = 0.0;
};

/// The main() of a benchmark program: runs every registered benchmark, repeated and in random order so that
/// both sides of a ratio see the same machine, and prints a line "RATIO name value" per row, from the
/// shortest processor times of the repetitions. 0 unless a benchmark of a row has not run.
int runBenchmarks(int argc, char **argv, const std::vector<ratio> &rows);

/// Prints one "RATIO name value" line.
void printRatio(const char *name, double value);

#endif
