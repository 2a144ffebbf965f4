#include "subscription/notification_queue.h"

namespace nimb {

void NotificationQueue::addBlock() {
    lastBlock_ = &blocks_.emplace_back();
    if (size_ == 0) {
        steppedOver_ = blocks_.size() - 1;
        frontBlock_ = lastBlock_;
        front_ = 0;
    }
}

void NotificationQueue::stepIntoNextBlock() {
    if (frontBlock_ != lastBlock_) {
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
