#include <algorithm>
#include <utility>

#include "subscription/subscription.h"

namespace nimb {

namespace {

/// Most bytes of an item in a line, beside those of its value: header, two times and the status.
constexpr std::size_t kItemRoom = 160;

/// A longer line does not reach the host anyway.
constexpr std::size_t kKeptCapacity = std::size_t{128} << 10;

}  // namespace

int Subscription::getNewOutputLines(VeltoList* out, int maxLines, int maxPerLine) {
    int lines = 0;
    while ((maxLines == 0 || lines < maxLines) && getNextOutputLine(out, maxPerLine) == 1) {
        ++lines;
    }
    return lines;
}

int Subscription::getNextOutputLine(VeltoList* out, int maxPerLine) {
    std::size_t left =
        std::min(static_cast<std::size_t>(std::max(maxPerLine, 0)), notificationQueue_.size());
    if (left == 0 || !notificationQueue_.front().processed) {
        return 0;
    }
    seen_.assign(items_.size() + 1, false);
    while (left > 0 && notificationQueue_.front().processed && takeInFront()) {
        --left;
    }
    writeLine();
    *out += line_;
    return 1;
}

/// Takes the front notification into the line; false when its item is in the line already. A
/// notification with an error, or of an item that is not known, is used up without effect.
bool Subscription::takeInFront() {
    const ItemNotification& front = notificationQueue_.front();
    if (MonitoredItem* item = front.item) {
        const auto index = static_cast<std::size_t>(item->index());
        if (seen_.at(index)) {
            return false;
        }
        if (!front.failed) {
            item->set(front, notificationQueue_.frontValue());
            seen_[index] = true;
        }
    }
    notificationQueue_.pop();
    return true;
}

/// What did not change is copied from the line before. The room is made beforehand, so that a line
/// is written whole or not at all.
void Subscription::writeLine() {
    std::size_t room = kItemRoom;
    for (const MonitoredItem& item : items_) {
        room += item.changed ? kItemRoom + item.value.size() : std::max(item.lineLength, kItemRoom);
    }
    nextLine_.Reset();
    nextLine_.ensureBuffer(room);
    nextLine_.stuffAscii(0, nullptr, 0);  // Compatibility C24
    for (MonitoredItem& item : items_) {
        const std::size_t begin = nextLine_.datalength();
        if (item.changed) {
            const ItemNotification& last = item.last();
            exportOptions_.addNestedDataValue(&nextLine_, last.sourceTimestamp,
                                              last.serverTimestamp, last.status, item.value);
        } else if (item.lineLength != 0) {
            nextLine_.appendList({line_.data() + item.lineBegin, item.lineLength});
        } else {
            exportOptions_.addNestedDataValue(&nextLine_, UA_DataValue{});
        }
        item.lineBegin = begin;
        item.lineLength = nextLine_.datalength() - begin;
        item.changed = false;
        item.value = {};
    }
    std::swap(line_, nextLine_);
    if (nextLine_.capacity() > kKeptCapacity) {
        nextLine_.clear();
    }
    notificationQueue_.release();
}

}  // namespace nimb
