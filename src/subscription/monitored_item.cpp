#include "subscription/monitored_item.h"

#include <utility>

#include "subscription/value_functions.h"

namespace nimb {

UA_DataValue takeOver(UA_DataValue* value) {
    UA_DataValue taken = *value;
    taken.value.storageType = UA_VARIANT_DATA;
    value->value.storageType = UA_VARIANT_DATA_NODELETE;
    return taken;
}

MonitoredItem::MonitoredItem(std::uint32_t monitoredItemId, int itemIndex, Processor itemProcessor)
    : id_(monitoredItemId),
      index_(itemIndex),
      processor_(itemProcessor),
      equals_(UAC_Simple_DataValue_Equals) {}

UACErr MonitoredItem::error() const { return error_ == nullptr ? UACErr() : *error_; }

void MonitoredItem::replaceError(const UACErr& error) {
    error_ = error.isError() ? std::make_unique<const UACErr>(error) : nullptr;
}

bool MonitoredItem::set(UA_DataValue* value) {
    if (equals_(value, lastValue_.get())) {
        return false;
    }
    std::swap(*lastValue_, *value);
    return true;
}

}  // namespace nimb
