#pragma once

#include <sched.h>

#include <cstddef>

namespace nimb::bench {

// The measured thread keeps one processor to itself and the servers get the others: where both
// wander, who shares a cache with whom decides a measurement.

/// The processors this thread may run on; the first of them is the measured thread's.
inline cpu_set_t allowedProcessors() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    sched_getaffinity(0, sizeof allowed, &allowed);
    return allowed;
}

inline std::size_t firstOf(const cpu_set_t& processors) {
    std::size_t first = 0;
    while (first + 1 < CPU_SETSIZE && !CPU_ISSET(first, &processors)) ++first;
    return first;
}

/// This thread stays on the first processor. Servers started later inherit that, and leave it.
inline void takeFirstProcessor() {
    cpu_set_t first;
    CPU_ZERO(&first);
    CPU_SET(firstOf(allowedProcessors()), &first);
    sched_setaffinity(0, sizeof first, &first);
}

/// This thread, confined to the first processor, moves to all others that there are. With a single
/// one, which the system refuses to leave, it stays.
inline void leaveFirstProcessor() {
    cpu_set_t others;
    CPU_ZERO(&others);
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) CPU_SET(i, &others);
    CPU_CLR(firstOf(allowedProcessors()), &others);
    sched_setaffinity(0, sizeof others, &others);
}

}  // namespace nimb::bench
