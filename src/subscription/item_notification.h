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
    /// host is known before it gets into a line. The item remembers the outcome.
    /// @return the error that the value stands for
    UACErr process() noexcept;

    [[nodiscard]] bool processed() const { return processed_; }
    /// Releases the value.
    void discard() { value_.reset(); }
    /// Whether the value cannot reach the host.
    [[nodiscard]] bool failed() const { return failed_; }
    /// Null until processed, and for an item that the subscription does not know.
    [[nodiscard]] MonitoredItem* item() const { return item_; }
    [[nodiscard]] UA_DataValue* value() { return value_.get(); }

  private:
    /// Scalar numbers always convert, and are most of what comes.
    bool cannotFail() const;
    UACErr convert();

    Subscription* subscription_;
    MonitoredItem* item_ = nullptr;
    OwnedDataValue value_;
    std::uint32_t monitoredItemId_;
    bool failed_ = false;
    bool processed_ = false;
};

}  // namespace nimb
