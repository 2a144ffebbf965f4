#pragma once

#include <cstddef>
#include <vector>

#include "subscription/item_notification.h"

namespace nimb {

/// The changes that wait for the host, oldest first, in one buffer: a change costs no allocation of
/// its own. References hold until the next push() or pop().
class NotificationQueue {
  public:
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] std::size_t size() const { return notifications_.size() - first_; }
    [[nodiscard]] ItemNotification& front() { return notifications_[first_]; }
    auto begin() { return notifications_.begin() + static_cast<std::ptrdiff_t>(first_); }
    auto end() { return notifications_.end(); }

    /// Takes the value over. Throws std::bad_alloc, and the value then stays the caller's.
    ItemNotification& push(Subscription* subscription, std::uint32_t monitoredItemId,
                           UA_DataValue* value) {
        return notifications_.emplace_back(subscription, monitoredItemId, value);
    }

    /// Removes the front and releases what it owns. Its place is used again once the queue has been
    /// used up, or once more places are empty than taken.
    void pop() {
        front().discard();
        ++first_;
        if (first_ == notifications_.size()) {
            clear();
        } else if (first_ > kKeptCapacity && first_ > size()) {
            notifications_.erase(notifications_.begin(), begin());
            first_ = 0;
        }
    }

  private:
    /// Entries whose memory is kept for the next changes, about 100 bytes each.
    static constexpr std::size_t kKeptCapacity = 1024;

    void clear() {
        notifications_.clear();
        if (notifications_.capacity() > kKeptCapacity) {
            notifications_.shrink_to_fit();
        }
        first_ = 0;
    }

    std::vector<ItemNotification> notifications_;
    std::size_t first_ = 0;
};

}  // namespace nimb
