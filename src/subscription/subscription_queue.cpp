#include <algorithm>
#include <mutex>

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
    const std::lock_guard<QueueMutex> lock(queueMutex_);
    client_->noteReport();
    lastChange_ = milliseconds(CLOCK_MONOTONIC_COARSE);
    if (full()) {
        countLoss(monitoredItemId);
        return;
    }
    const std::uint32_t position =
        itemsKnown_ ? positionOf(monitoredItemId) : ItemNotification::kNoItem;
    MonitoredItem* item = itemAt(position);
    notificationQueue_.push({.times = {value.sourceTimestamp, value.serverTimestamp},
                             .monitoredItemId = monitoredItemId,
                             .position = position,
                             .status = value.status,
                             .processed = itemsKnown_},
                            [&](VeltoList& items) { return convert(items, value.value, item); });
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

/// Servers report the items in the order of their creation or, as open62541 1.4 does, in the
/// reverse one: before the map, the neighbours of the item found last are asked.
std::uint32_t Subscription::positionOf(std::uint32_t monitoredItemId) {
    const auto isAt = [&](std::uint32_t position) {
        return position < items_.size() && items_[position].id() == monitoredItemId;
    };
    if (isAt(lastFound_ - 1)) {
        return --lastFound_;
    }
    if (isAt(lastFound_ + 1)) {
        return ++lastFound_;
    }
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
