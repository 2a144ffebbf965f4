#pragma once

#include <open62541/types.h>

#include <cstddef>
#include <cstdint>

namespace nimb {

class MonitoredItem;

/// One data change that waits in a subscription's queue: what a line needs of it, next to each
/// other. The value waits as the items that hosts read, converted once when it came.
struct ItemNotification {
    MonitoredItem* item = nullptr;  ///< null until processed, and for an item that is not known
    UA_DateTime sourceTimestamp = 0;
    UA_DateTime serverTimestamp = 0;
    std::size_t begin = 0;   ///< of the value's items in the bytes of the queue's block
    std::size_t length = 0;  ///< of the value's items in bytes
    std::uint32_t monitoredItemId = 0;
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    bool processed = false;
    bool failed = false;  ///< the value cannot reach the host
};

}  // namespace nimb
