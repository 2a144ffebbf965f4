#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "errors/uac_err.h"
#include "subscription/item_notification.h"

namespace nimb {

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
    bool set(const ItemNotification& change, std::span<const unsigned char> newValue) {
        if (UAC_Simple_DataValue_Equals(change.times, times_)) {
            return false;
        }
        times_ = change.times;
        status_ = change.status;
        value_ = newValue.data();
        valueLength_ = static_cast<std::uint32_t>(newValue.size());
        changed = true;
        return true;
    }

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] int index() const { return index_; }

    /// @name The latest value accepted for the host
    /// @{
    [[nodiscard]] const ValueTimes& times() const { return times_; }
    [[nodiscard]] UA_StatusCode status() const { return status_; }
    /// Its items; only while it has `changed`.
    [[nodiscard]] std::span<const unsigned char> value() const { return {value_, valueLength_}; }
    /// @}

    /// What went wrong at creation or with the latest notification.
    [[nodiscard]] UACErr error() const { return error_ == nullptr ? UACErr() : *error_; }
    /// Throws std::bad_alloc, and then the error before stays.
    void setError(const UACErr& error) { error_ = std::make_unique<const UACErr>(error); }
    /// The same where a failure must not go further.
    void noteError(const UACErr& error) noexcept;
    void clearError() {
        if (error_ != nullptr) [[unlikely]] {
            error_.reset();
        }
    }

    /// Status of the creation, later of the latest notified value.
    UA_StatusCode lastStatus = UA_STATUSCODE_GOOD;
    /// Notifications of this item dropped because the queue was full.
    std::uint32_t lossCount = 0;
    /// Bytes of the item in the last line; 0 before the first one.
    std::uint32_t lineLength = 0;
    /// A change was taken since the last line was written.
    bool changed = false;
    /// The line that is being gathered has taken in a change, be it a repetition.
    bool seen = false;
    /// True until the server accepts the item, and again once the stack reports it deleted.
    bool inactive = true;

  private:
    std::uint32_t id_;
    int index_;
    UA_StatusCode status_ = UA_STATUSCODE_GOOD;
    std::uint32_t valueLength_ = 0;
    const unsigned char* value_ = nullptr;
    ValueTimes times_;
    std::unique_ptr<const UACErr> error_;
};

}  // namespace nimb
