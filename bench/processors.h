#pragma once

#include <sched.h>

#include <cstddef>

namespace nimb::bench {

// The measured thread keeps the first processor to itself and the servers get the others: where
// both wander, who shares a cache with whom decides a measurement. No effect on a single processor.

/// This thread stays on the first processor.
inline void takeFirstProcessor() {
    cpu_set_t first;
    CPU_ZERO(&first);
    CPU_SET(0, &first);
    sched_setaffinity(0, sizeof first, &first);
}

/// This thread runs on all processors but the first.
inline void leaveFirstProcessor() {
    cpu_set_t others;
    CPU_ZERO(&others);
    for (std::size_t i = 1; i < CPU_SETSIZE; ++i) CPU_SET(i, &others);
    sched_setaffinity(0, sizeof others, &others);
}

}  // namespace nimb::bench
