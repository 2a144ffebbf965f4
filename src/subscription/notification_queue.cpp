#include "subscription/notification_queue.h"

namespace nimb {

void NotificationQueue::addBlock() {
    lastBlock_ = blocks_.emplace_back(std::make_unique<Block>()).get();
    if (size_ == 0) {
        steppedOver_ = blocks_.size() - 1;
        frontBlock_ = lastBlock_;
        front_ = frontBlock_->changes.data();
    }
}

void NotificationQueue::stepIntoNextBlock() {
    if (frontBlock_ != lastBlock_) {
        frontBlock_ = blocks_[++steppedOver_].get();
        front_ = frontBlock_->changes.data();
    }
}

void NotificationQueue::release() {
    for (; steppedOver_ > 0; --steppedOver_) {
        blocks_.pop_front();
    }
    if (size_ != 0 || blocks_.empty()) {
        return;
    }
    Block& block = *frontBlock_;
    front_ = block.changes.data();
    block.end = front_;
    if (block.bytes.capacity() > 2 * kBlockBytes) {
        block.bytes.clear();
    } else {
        block.bytes.Reset();
    }
}

}  // namespace nimb
