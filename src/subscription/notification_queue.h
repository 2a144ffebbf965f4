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
    [[nodiscard]] const ItemNotification& front() const { return frontBlock_->changes[front_]; }
    /// The items of the oldest change's value.
    [[nodiscard]] std::span<const unsigned char> frontValue() const {
        return {frontBlock_->bytes.data() + front().begin, front().length};
    }

    /// Appends a change.
    /// @param change  without its value
    /// @param write   writes the items of its value at the end of the list that it is called with;
    ///                returns whether they can reach the host
    /// @throws std::bad_alloc, and what `write` throws; the change is not queued then
    template <typename Write>
    void push(const ItemNotification& change, const Write& write) {
        Block& block = blockWithRoom();
        const std::size_t begin = block.bytes.datalength();
        const bool written = write(block.bytes);
        ItemNotification& queued = block.changes.emplace_back(change);
        queued.begin = static_cast<std::uint32_t>(begin);
        queued.length = static_cast<std::uint32_t>(block.bytes.datalength() - begin);
        queued.failed = !written;
        ++size_;
    }

    /// Steps over the front, which stays where it is until release().
    void pop() {
        ++front_;
        --size_;
        if (front_ == frontBlock_->changes.size()) {
            stepIntoNextBlock();
        }
    }
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

    Block& blockWithRoom() {
        if (lastBlock_ == nullptr || lastBlock_->full()) {
            addBlock();
        }
        return *lastBlock_;
    }
    void addBlock();
    void stepIntoNextBlock();

    std::deque<Block> blocks_;
    std::size_t steppedOver_ = 0;  ///< blocks before the front one
    /// The block at steppedOver_ and the last one, once there is one: to look them up for each
    /// change takes 45 instructions, of some 1,600.
    Block* frontBlock_ = nullptr;
    Block* lastBlock_ = nullptr;
    std::size_t front_ = 0;  ///< in the front block
    std::size_t size_ = 0;
};

}  // namespace nimb
