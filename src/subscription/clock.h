#pragma once

#include <cstdint>
#include <ctime>

namespace nimb {

/// Milliseconds of a clock that only goes forward, exact to a few of them: cheap enough to be read
/// for every change that arrives.
inline std::int64_t coarseMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace nimb
