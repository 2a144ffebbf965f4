#include "subscription/notification_queue.h"

namespace nimb {

VeltoList& NotificationQueue::nextValue() {
    if (blocks_.empty() || blocks_.back().full()) {
        blocks_.emplace_back();
        if (size_ == 0) {
            steppedOver_ = blocks_.size() - 1;
            frontBlock_ = &blocks_.back();
            front_ = 0;
        }
    }
    return blocks_.back().bytes;
}

ItemNotification& NotificationQueue::push(std::size_t begin, const ItemNotification& change) {
    Block& block = blocks_.back();
    ItemNotification& queued = block.changes.emplace_back(change);
    queued.begin = begin;
    queued.length = block.bytes.datalength() - begin;
    ++size_;
    return queued;
}

void NotificationQueue::pop() {
    ++front_;
    --size_;
    if (front_ == frontBlock_->changes.size() && steppedOver_ + 1 < blocks_.size()) {
        frontBlock_ = &blocks_[++steppedOver_];
        front_ = 0;
    }
}

void NotificationQueue::release() {
    for (; steppedOver_ > 0; --steppedOver_) {
        blocks_.pop_front();
    }
    if (size_ != 0 || blocks_.empty()) {
        return;
    }
    Block& block = blocks_.front();
    front_ = 0;
    block.changes.clear();
    if (block.bytes.capacity() > 2 * kBlockBytes) {
        block.bytes.clear();
    } else {
        block.bytes.Reset();
    }
}

}  // namespace nimb
