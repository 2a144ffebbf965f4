#pragma once

#include <open62541/types.h>

#include <cstdint>
#include <limits>

namespace nimb {

/// When a value was taken; both 0 before the first one.
struct ValueTimes {
    UA_DateTime source = 0;
    UA_DateTime server = 0;
};

/// True when both times agree, whatever the values: a source that stamps its values gives each
/// change a time of its own.
[[nodiscard]] inline bool UAC_Simple_DataValue_Equals(const ValueTimes& a, const ValueTimes& b) {
    return a.source == b.source && a.server == b.server;
}

/// One data change that waits in a subscription's queue: what a line needs of it, next to each
/// other. The value waits as the items that hosts read, converted once when it came. Kept to 40
/// bytes: hosts may let many thousands of them wait.
struct ItemNotification {
    static constexpr std::uint32_t kNoItem = std::numeric_limits<std::uint32_t>::max();

    ValueTimes times;
    std::uint32_t begin = 0;   ///< of the value's items in the bytes of the queue's block
    std::uint32_t length = 0;  ///< of the value's items in bytes
    std::uint32_t monitoredItemId = 0;
    std::uint32_t position = kNoItem;  ///< among the items, of a processed change of a known item
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    bool processed = false;
    bool failed = false;  ///< the value cannot reach the host
};
static_assert(sizeof(ItemNotification) == 40);

}  // namespace nimb
