#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace nimb {

inline std::int64_t milliseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

/// Milliseconds of one of the system's clocks that only go forward. CLOCK_MONOTONIC_COARSE, exact
/// to a few of them, is cheap enough to be read for every change that arrives; CLOCK_BOOTTIME goes
/// on while the machine is suspended.
inline std::int64_t milliseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return milliseconds(now);
}

/// The time of std::chrono::steady_clock at the system's last tick, at most 10 ms ago. Reading it
/// costs a few nanoseconds; the exact time costs 45, a tenth of a poll with nothing to tell.
inline std::chrono::steady_clock::time_point timeOfLastTick() {
    timespec tick{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
    return std::chrono::steady_clock::time_point(std::chrono::seconds(tick.tv_sec) +
                                                 std::chrono::nanoseconds(tick.tv_nsec));
}

}  // namespace nimb
