#include <algorithm>

#include "list/nested_list.h"
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
    const std::size_t most =
        std::min(static_cast<std::size_t>(std::max(maxPerLine, 0)), notificationQueue_.size());
    if (most == 0 || !notificationQueue_.front().processed) {
        return 0;
    }
    takeIn(most);
    writeLine(*out);
    notificationQueue_.release();
    return 1;
}

void Subscription::takeIn(std::size_t most) {
    for (; most > 0 && notificationQueue_.front().processed; --most) {
        if (!takeInFront()) {
            return;
        }
    }
}

/// Takes the front notification into the line; false when its item is in the line already. A
/// notification with an error, or of an item that is not known, is used up without effect.
bool Subscription::takeInFront() {
    const ItemNotification& front = notificationQueue_.front();
    if (front.position != ItemNotification::kNoItem) {
        MonitoredItem& item = items_[front.position];
        if (item.seen) {
            return false;
        }
        if (!front.failed) {
            if (item.set(front, notificationQueue_.frontValue())) {
                lineRoom_ += kItemRoom + front.length - item.lineLength;
            }
            item.seen = true;
        }
    }
    notificationQueue_.pop();
    return true;
}

/// What did not change is copied from the line before, run by run. The room is made beforehand, so
/// that a line is written whole or not at all.
void Subscription::writeLine(VeltoList& out) {
    const std::size_t firstRoom = line_.empty() ? kItemRoom * (items_.size() + 1) : 0;
    const std::size_t room = line_.datalength() + lineRoom_ + firstRoom;
    line_.ensureBuffer(room);
    NestedList nested(out, room);
    const std::size_t begin = out.datalength();
    out.stuffAscii(begin, nullptr, 0);          // Compatibility C24
    std::size_t at = out.datalength() - begin;  // in the line before
    std::size_t unchanged = at;
    for (MonitoredItem& item : items_) {
        const std::size_t next = at + item.lineLength;
        if (item.changed || item.lineLength == 0) {
            if (at != unchanged) {
                out.appendList({line_.data() + unchanged, at - unchanged});
            }
            item.lineLength = writeItem(out, item);
            unchanged = next;
        }
        item.changed = false;
        item.seen = false;
        at = next;
    }
    out.appendList({line_.data() + unchanged, at - unchanged});
    line_.setList(out.data() + begin, out.datalength() - begin);
    lineRoom_ = 0;
    nested.close();
    if (line_.capacity() > std::max(kKeptCapacity, 2 * line_.datalength())) {
        line_ = VeltoList(line_);
    }
}

std::uint32_t Subscription::writeItem(VeltoList& out, const MonitoredItem& item) const {
    const std::size_t begin = out.datalength();
    if (item.changed) {
        exportOptions_.addNestedDataValue(&out, item.times().source, item.times().server,
                                          item.status(), item.value());
    } else {
        exportOptions_.addNestedDataValue(&out, UA_DataValue{});
    }
    return static_cast<std::uint32_t>(out.datalength() - begin);
}

}  // namespace nimb
