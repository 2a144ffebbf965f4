#pragma once

#include <functional>
#include <string>
#include <vector>

namespace nimb::bench {

/// One of the parties that are measured against each other.
struct Side {
    std::function<void()> call;
    /// Work done so far, in units of the case; by default every call is one unit.
    std::function<double()> work{};
    /// Run before each turn, unmeasured: works off what piled up while others had theirs.
    std::function<void()> settle{};
};

/// The same request made by both sides. `raw` and `control` are two sessions of the bare stack;
/// what lies between them is the noise of the machine. Both are empty for an entry that has
/// nothing to be compared with, `control` alone where the raw side needs none.
struct Contest {
    Side adapter;
    Side raw;
    Side control;
    /// Throws std::exception unless both sides give the right answers; run before and after.
    std::function<void()> check;
};

/// How a contest is measured: the sides take turns of `callsPerTurn` calls; `turns` of them make
/// one sample.
struct Plan {
    int callsPerTurn;
    int turns;
    int samples;
};

/// Medians over the samples. Times are nanoseconds per unit, ratios those of adapter to raw.
struct Outcome {
    double adapterCpu = 0;
    double rawCpu = 0;
    double cpuRatio = 0;
    double wallRatio = 0;
    double controlRatio = 1;
    int attempts = 1;

    /// Whether raw against raw read 1 within two per cent.
    bool controlHolds() const { return controlRatio >= 0.98 && controlRatio <= 1.02; }
};

/// Checks, measures and checks again. A contest whose control does not hold is measured anew, at
/// most `attempts` times; the outcome is that of the attempt whose control came closest to 1.
Outcome compare(const Contest& contest, const Plan& plan, int attempts = 3);

/// Median of the samples, which must not be empty.
double medianOf(std::vector<double> samples);

/// CPU time of this thread in nanoseconds.
double threadCpu();

}  // namespace nimb::bench
