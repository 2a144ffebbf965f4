#include "subscription/monitored_item.h"

namespace nimb {

void MonitoredItem::noteError(const UACErr& error) noexcept {
    try {
        setError(error);
    } catch (...) {
        // Memory is exhausted: the item keeps the error before.
    }
}

}  // namespace nimb
