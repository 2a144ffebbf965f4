#include "callout/call_frame.h"

#include "callout/process_state.h"

namespace nimb {

namespace {

/// Larger results do not reach the host anyway; their memory is given back.
constexpr std::size_t kKeptCapacity = std::size_t{128} << 10;

}  // namespace

VeltoList& emptyResults() {
    VeltoList& results = processState().results;
    if (results.capacity() > kKeptCapacity) {
        results.clear();
    }
    results.Reset();
    return results;
}

}  // namespace nimb
