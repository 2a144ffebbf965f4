#include "subscription/monitored_item.h"

namespace nimb {

bool UAC_Simple_DataValue_Equals(const ItemNotification& a, const ItemNotification& b) {
    return a.sourceTimestamp == b.sourceTimestamp && a.serverTimestamp == b.serverTimestamp;
}

UACErr MonitoredItem::error() const { return error_ == nullptr ? UACErr() : *error_; }

void MonitoredItem::replaceError(const UACErr& error) {
    error_ = error.isError() ? std::make_unique<const UACErr>(error) : nullptr;
}

bool MonitoredItem::set(const ItemNotification& change, std::span<const unsigned char> newValue) {
    if (UAC_Simple_DataValue_Equals(change, last_)) {
        return false;
    }
    last_ = change;
    value = newValue;
    changed = true;
    return true;
}

}  // namespace nimb
