#include "demo_server/fault_plan.h"

#include <algorithm>

namespace nimb::plant {

FaultPlan::FaultPlan(std::vector<Fault> faults, Clock::time_point start)
    : pending_(std::move(faults)), start_(start) {
    std::ranges::stable_sort(pending_, std::ranges::greater{}, &Fault::at);
}

std::optional<Fault> FaultPlan::take(Clock::time_point now) {
    if (pending_.empty() || now < start_ + pending_.back().at) return std::nullopt;
    const Fault due = pending_.back();
    pending_.pop_back();
    return due;
}

}  // namespace nimb::plant
