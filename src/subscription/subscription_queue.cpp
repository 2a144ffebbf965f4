#include <algorithm>

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

/// Appends the items of a value that waits in the queue. Only one that has no form for hosts makes
/// an error, which its item remembers, if that is known.
/// @return whether the value has a form
bool Subscription::convert(VeltoList& out, const UA_Variant& value, MonitoredItem* item) const {
    try {
        exportOptions_.addValue(&out, value);
    } catch (const UACErr& raised) {
        if (item != nullptr) {
            item->noteError(raised);
        }
        return false;
    }
    if (item != nullptr) {
        item->clearError();
    }
    return true;
}

void Subscription::queue(const UA_DataValue& value, std::uint32_t monitoredItemId) {
    const std::lock_guard<std::mutex> lock(queueMutex_);
    client_->noteReport();
    clock_gettime(CLOCK_MONOTONIC_COARSE, &lastChange_);
    if (full()) {
        countLoss(monitoredItemId);
        return;
    }
    const std::uint32_t position =
        itemsKnown_ ? positionOf(monitoredItemId) : ItemNotification::kNoItem;
    MonitoredItem* item = itemAt(position);
    notificationQueue_.push([&](ItemNotification& change, VeltoList& items) {
        change.failed = !convert(items, value.value, item);
        change.processed = itemsKnown_;
        change.times = {value.sourceTimestamp, value.serverTimestamp};
        change.status = value.status;
        change.monitoredItemId = monitoredItemId;
        change.position = position;
    });
    if (item != nullptr) {
        item->lastStatus = value.status;
    }
}

/// What came before the items were known is given to them.
void Subscription::processWaiting() {
    itemsKnown_ = true;
    notificationQueue_.forEach([this](ItemNotification& waiting) {
        if (waiting.processed) {
            return;
        }
        waiting.processed = true;
        waiting.position = positionOf(waiting.monitoredItemId);
        if (MonitoredItem* item = itemAt(waiting.position)) {
            item->lastStatus = waiting.status;
            item->clearError();
            if (waiting.failed) {
                item->noteError(UACErr::unknown("Item notification processing error (id=%d)",
                                                static_cast<int>(waiting.monitoredItemId)));
            }
        }
    });
}

std::uint32_t Subscription::lookUp(std::uint32_t monitoredItemId) {
    const auto entry = positionsById_.find(monitoredItemId);
    if (entry == positionsById_.end()) {
        return ItemNotification::kNoItem;
    }
    return lastFound_ = entry->second;
}

MonitoredItem* Subscription::itemById(std::uint32_t monitoredItemId) {
    return itemAt(positionOf(monitoredItemId));
}

}  // namespace nimb
