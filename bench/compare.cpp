#include "compare.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace nimb::bench {

namespace {

double read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

/// The times of one side, in nanoseconds per unit of work.
class Record {
  public:
    explicit Record(const Side& side) : side_(side) {}

    bool present() const { return side_.call != nullptr; }

    void takeTurn(int calls) {
        if (!present()) return;
        if (side_.settle) side_.settle();
        const double workBefore = work();
        const double wallBefore = read(CLOCK_MONOTONIC);
        const double cpuBefore = threadCpu();
        for (int i = 0; i < calls; ++i) side_.call();
        cpuSum_ += threadCpu() - cpuBefore;
        wallSum_ += read(CLOCK_MONOTONIC) - wallBefore;
        workSum_ += side_.work ? work() - workBefore : calls;
    }

    void endSample() {
        if (workSum_ > 0) {
            cpu.push_back(cpuSum_ / workSum_);
            wall.push_back(wallSum_ / workSum_);
        }
        cpuSum_ = wallSum_ = workSum_ = 0;
    }

    std::vector<double> cpu;
    std::vector<double> wall;

  private:
    double work() const { return side_.work ? side_.work() : 0; }

    const Side& side_;
    double cpuSum_ = 0;
    double wallSum_ = 0;
    double workSum_ = 0;
};

double ratioOf(const std::vector<double>& above, const std::vector<double>& below) {
    return medianOf(above) / medianOf(below);
}

Outcome measure(const Contest& contest, const Plan& plan) {
    std::array<Record, 3> sides{Record(contest.raw), Record(contest.adapter),
                                Record(contest.control)};
    for (int sample = 0; sample < plan.samples; ++sample) {
        for (int turn = 0; turn < plan.turns; ++turn) {
            for (std::size_t i = 0; i < sides.size(); ++i) {
                // Each side follows each other one equally often.
                const std::size_t shift = static_cast<std::size_t>(sample + turn);
                const std::size_t next = shift % 2 == 0 ? i : sides.size() - 1 - i;
                sides[(next + shift / 2) % sides.size()].takeTurn(plan.callsPerTurn);
            }
        }
        for (Record& side : sides) side.endSample();
    }
    const auto& [raw, adapter, control] = sides;
    Outcome outcome;
    outcome.adapterCpu = medianOf(adapter.cpu);
    if (raw.present()) {
        outcome.rawCpu = medianOf(raw.cpu);
        outcome.cpuRatio = ratioOf(adapter.cpu, raw.cpu);
        outcome.wallRatio = ratioOf(adapter.wall, raw.wall);
    }
    if (control.present()) outcome.controlRatio = ratioOf(control.cpu, raw.cpu);
    return outcome;
}

}  // namespace

double threadCpu() { return read(CLOCK_THREAD_CPUTIME_ID); }

double medianOf(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const std::size_t middle = samples.size() / 2;
    return samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

Outcome compare(const Contest& contest, const Plan& plan, int attempts) {
    const auto distance = [](const Outcome& outcome) { return std::abs(outcome.controlRatio - 1); };
    contest.check();
    Outcome best = measure(contest, plan);
    for (int attempt = 2; attempt <= attempts && !best.controlHolds(); ++attempt) {
        const Outcome next = measure(contest, plan);
        if (distance(next) < distance(best)) best = next;
        best.attempts = attempt;
    }
    contest.check();
    return best;
}

}  // namespace nimb::bench
