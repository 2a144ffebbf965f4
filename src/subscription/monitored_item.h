#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "errors/uac_err.h"
#include "subscription/item_notification.h"

namespace nimb {

/// True when both times agree, whatever the values: a source that stamps its values gives each
/// change a time of its own.
[[nodiscard]] bool UAC_Simple_DataValue_Equals(const ItemNotification& a,
                                               const ItemNotification& b);

/// One node that a subscription follows. Small and without what is rarely there, an error, because
/// every change brings its item in from memory.
class MonitoredItem {
  public:
    /// @param monitoredItemId  the server's id
    /// @param itemIndex        1-based position of the node in the request
    MonitoredItem(std::uint32_t monitoredItemId, int itemIndex)
        : id_(monitoredItemId), index_(itemIndex) {}

    /// Takes a change as the latest one, unless it repeats that one.
    /// @param newValue  the items of its value, which stay where they are until the line is written
    /// @return whether it was taken
    bool set(const ItemNotification& change, std::span<const unsigned char> newValue);

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] int index() const { return index_; }
    /// The times and status of the latest value accepted for the host; zero until there is one.
    [[nodiscard]] const ItemNotification& last() const { return last_; }

    /// What went wrong at creation or with the latest notification.
    [[nodiscard]] UACErr error() const;
    /// Takes the latest error or its absence. Throws std::bad_alloc, and then the error stays.
    void setError(const UACErr& error) {
        if (error_ != nullptr || error.isError()) {
            replaceError(error);
        }
    }

    /// A change was taken since the last line was written; its value.
    bool changed = false;
    std::span<const unsigned char> value;
    /// Where the item stands in the last line; length 0 before the first one.
    std::size_t lineBegin = 0;
    std::size_t lineLength = 0;

    /// Status of the creation, later of the latest notified value.
    UA_StatusCode lastStatus = UA_STATUSCODE_GOOD;
    /// Notifications of this item dropped because the queue was full.
    std::uint32_t lossCount = 0;
    /// True until the server accepts the item, and again once the stack reports it deleted.
    bool inactive = true;

  private:
    void replaceError(const UACErr& error);

    std::uint32_t id_;
    int index_;
    std::unique_ptr<const UACErr> error_;
    ItemNotification last_;
};

}  // namespace nimb
