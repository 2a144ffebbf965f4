#pragma once

#include <cstdint>
#include <ctime>

namespace nimb {

/// Milliseconds of one of the system's clocks that only go forward. CLOCK_MONOTONIC_COARSE, exact
/// to a few of them, is cheap enough to be read for every change that arrives; CLOCK_BOOTTIME goes
/// on while the machine is suspended.
inline std::int64_t milliseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace nimb
