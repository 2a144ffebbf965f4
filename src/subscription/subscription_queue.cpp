#include <algorithm>
#include <initializer_list>

#include "client/clock.h"
#include "client/opcua_client.h"
#include "subscription/subscription.h"

namespace nimb {

bool Subscription::full() const {
    const std::size_t waiting = notificationQueue_.size();
    if (!polled_ && waiting >= std::max<std::size_t>(items_.size(), 1)) {
        return true;
    }
    const auto bound = static_cast<std::uint64_t>(static_cast<std::int64_t>(maxQueueSize_));
    return maxQueueSize_ != 0 && waiting >= bound;
}

void Subscription::countLoss(std::uint32_t monitoredItemId) {
    ++queueLossCount_;
    if (MonitoredItem* item = itemById(monitoredItemId)) {
        ++item->lossCount;
    } else {
        ++unknownItemLossCount_;
    }
}

UACErr Subscription::convert(VeltoList& out, const UA_DataValue& value) const {
    try {
        exportOptions_.addValue(&out, value.value);
        return {};
    } catch (const UACErr& raised) {
        return raised;
    }
}

void Subscription::queue(const UA_DataValue& value, std::uint32_t monitoredItemId) {
    const std::lock_guard<std::mutex> lock(queueMutex_);
    client_->noteReport();
    lastChange_ = milliseconds(CLOCK_MONOTONIC_COARSE);
    if (full()) {
        countLoss(monitoredItemId);
        return;
    }
    VeltoList& bytes = notificationQueue_.nextValue();
    const std::size_t begin = bytes.datalength();
    const UACErr outcome = convert(bytes, value);
    ItemNotification& queued =
        notificationQueue_.push(begin, {.sourceTimestamp = value.sourceTimestamp,
                                        .serverTimestamp = value.serverTimestamp,
                                        .monitoredItemId = monitoredItemId,
                                        .status = value.status,
                                        .failed = outcome.isError()});
    if (itemsKnown_) {
        process(queued, outcome);
    }
}

void Subscription::process(ItemNotification& notification, const UACErr& outcome) noexcept {
    notification.processed = true;
    notification.item = itemById(notification.monitoredItemId);
    if (notification.item == nullptr) {
        return;
    }
    notification.item->lastStatus = notification.status;
    try {
        notification.item->setError(outcome);
    } catch (...) {
        // Memory is exhausted: the item keeps the error before.
    }
}

void Subscription::processWaiting() {
    itemsKnown_ = true;
    notificationQueue_.forEach([this](ItemNotification& waiting) {
        if (!waiting.processed) {
            const UACErr outcome =
                waiting.failed ? UACErr::unknown("Item notification processing error (id=%d)",
                                                 static_cast<int>(waiting.monitoredItemId))
                               : UACErr();
            process(waiting, outcome);
        }
    });
}

/// Servers report the items in the order of their creation or, as open62541 1.4 does, in the
/// reverse one: before the map, the neighbours of the item found last are asked.
MonitoredItem* Subscription::itemById(std::uint32_t monitoredItemId) {
    for (const std::size_t position : {lastFound_ + 1, lastFound_ - 1}) {
        if (position < items_.size() && items_[position].id() == monitoredItemId) {
            lastFound_ = position;
            return &items_[position];
        }
    }
    const auto entry = positionsById_.find(monitoredItemId);
    if (entry == positionsById_.end()) {
        return nullptr;
    }
    lastFound_ = entry->second;
    return &items_[lastFound_];
}

}  // namespace nimb
