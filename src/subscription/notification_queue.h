#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>

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
    [[nodiscard]] const ItemNotification& front() const { return *front_; }
    /// The items of the oldest change's value.
    [[nodiscard]] std::span<const unsigned char> frontValue() const {
        return {frontBlock_->bytes.data() + front_->begin, front_->length};
    }

    /// Appends a change.
    /// @param fill  called with the change and the list at whose end the items of its value go;
    ///              fills in all but where they stand
    /// @throws std::bad_alloc, and what `fill` throws; nothing is queued then
    template <typename Fill>
    void push(const Fill& fill) {
        if (lastBlock_ == nullptr || lastBlock_->full()) [[unlikely]] {
            addBlock();
        }
        Block& block = *lastBlock_;
        ItemNotification& change = *block.end;
        const std::size_t begin = block.bytes.datalength();
        fill(change, block.bytes);
        change.begin = static_cast<std::uint32_t>(begin);
        change.length = static_cast<std::uint32_t>(block.bytes.datalength() - begin);
        ++block.end;
        ++size_;
    }

    /// Steps over the front, which stays where it is until release().
    void pop() {
        --size_;
        if (++front_ == frontBlock_->end) {
            stepIntoNextBlock();
        }
    }
    /// Gives back the memory of what was stepped over.
    void release();

    template <typename Work>
    void forEach(Work work) {
        for (std::size_t block = steppedOver_; block < blocks_.size(); ++block) {
            ItemNotification* change =
                block == steppedOver_ ? front_ : blocks_[block]->changes.data();
            std::for_each(change, blocks_[block]->end, work);
        }
    }

  private:
    static constexpr std::size_t kBlockChanges = 256;
    static constexpr std::size_t kBlockBytes = std::size_t{64} << 10;

    struct Block {
        std::array<ItemNotification, kBlockChanges> changes;
        ItemNotification* end = changes.data();  ///< behind the last change
        VeltoList bytes;

        [[nodiscard]] bool full() const {
            return end == changes.data() + changes.size() || bytes.datalength() >= kBlockBytes;
        }
    };

    void addBlock();
    void stepIntoNextBlock();

    std::deque<std::unique_ptr<Block>> blocks_;
    std::size_t steppedOver_ = 0;  ///< blocks before the front one
    // The block at steppedOver_ and the last one, once there is one: to look them up for each
    // change takes some 40 instructions, of some 1,500.
    Block* frontBlock_ = nullptr;
    Block* lastBlock_ = nullptr;
    ItemNotification* front_ = nullptr;  ///< in the front block
    std::size_t size_ = 0;
};

}  // namespace nimb
