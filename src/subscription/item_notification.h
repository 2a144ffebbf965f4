#pragma once

#include <cstdint>

#include "convert/owned.h"
#include "errors/uac_err.h"

namespace nimb {

class MonitoredItem;
class Subscription;

/// One data change waiting in a subscription's queue.
class ItemNotification {
  public:
    /// Takes the stack's value over.
    ItemNotification(Subscription* subscription, std::uint32_t monitoredItemId,
                     UA_DataValue* value);

    /// Finds the monitored item and converts the value once, so that a value that cannot reach the
    /// host is known before it gets into a line. The outcome is in error() and in the item.
    void process() noexcept;

    [[nodiscard]] bool processed() const { return processed_; }
    [[nodiscard]] const UACErr& error() const { return error_; }
    /// Null until processed, and for an item that the subscription does not know.
    [[nodiscard]] MonitoredItem* item() const { return item_; }
    [[nodiscard]] UA_DataValue* value() { return value_.get(); }

  private:
    UACErr convert();

    Subscription* subscription_;
    std::uint32_t monitoredItemId_;
    MonitoredItem* item_ = nullptr;
    OwnedDataValue value_;
    UACErr error_;
    bool processed_ = false;
};

}  // namespace nimb
