#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <vector>

#include "list/velto_list.h"
#include "subscription/item_notification.h"

namespace nimb {

/// The changes that wait for the host, oldest first, in blocks: a change costs no allocation of its
/// own, and what has been handed out is given back block by block. References to changes and their
/// bytes hold until release().
class NotificationQueue {
  public:
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] std::size_t size() const { return size_; }
    /// The oldest change. Only while the queue is not empty.
    [[nodiscard]] ItemNotification& front() { return frontBlock_->changes[front_]; }
    /// The items of the oldest change's value.
    [[nodiscard]] std::span<const unsigned char> frontValue() {
        return {frontBlock_->bytes.data() + front().begin, front().length};
    }

    /// Where the value of the next change is to be written, at the end. Throws std::bad_alloc.
    VeltoList& nextValue();
    /// Appends a change whose value begins at `begin` of nextValue() and ends at its end.
    /// Throws std::bad_alloc; the change is not queued then.
    ItemNotification& push(std::size_t begin, const ItemNotification& change);

    /// Steps over the front, which stays where it is until release().
    void pop();
    /// Gives back the memory of what was stepped over.
    void release();

    template <typename Work>
    void forEach(Work work) {
        for (std::size_t block = steppedOver_; block < blocks_.size(); ++block) {
            std::vector<ItemNotification>& changes = blocks_[block].changes;
            for (std::size_t i = block == steppedOver_ ? front_ : 0; i < changes.size(); ++i) {
                work(changes[i]);
            }
        }
    }

  private:
    struct Block {
        std::vector<ItemNotification> changes;
        VeltoList bytes;

        [[nodiscard]] bool full() const {
            return changes.size() >= kBlockChanges || bytes.datalength() >= kBlockBytes;
        }
    };
    static constexpr std::size_t kBlockChanges = 256;
    static constexpr std::size_t kBlockBytes = std::size_t{64} << 10;

    std::deque<Block> blocks_;
    std::size_t steppedOver_ = 0;  ///< blocks before the front one
    /// The block at steppedOver_, once there is one: to look it up at each step takes 23
    /// instructions a change, of some 1,600.
    Block* frontBlock_ = nullptr;
    std::size_t front_ = 0;  ///< in the front block
    std::size_t size_ = 0;
};

}  // namespace nimb
