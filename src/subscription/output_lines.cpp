#include <algorithm>

#include "list/nested_list.h"
#include "subscription/subscription.h"

namespace nimb {

int Subscription::getNewOutputLines(VeltoList* out, int maxLines, int maxPerLine) {
    int lines = 0;
    while (maxLines == 0 || lines < maxLines) {
        NestedList line(*out);
        if (getNextOutputLine(out, maxPerLine) != 1) {
            break;
        }
        line.close();
        ++lines;
    }
    return lines;
}

int Subscription::getNextOutputLine(VeltoList* out, int maxPerLine) {
    std::size_t left =
        std::min(static_cast<std::size_t>(std::max(maxPerLine, 0)), notificationQueue_.size());
    if (left == 0 || !notificationQueue_.front().processed()) {
        return 0;
    }
    std::vector<bool> seen(items_.size() + 1);
    while (left > 0 && notificationQueue_.front().processed() && takeInFront(seen)) {
        --left;
    }
    appendLastValues(out);
    return 1;
}

// Takes the front notification into the line; false when its item is in the line already. A
// notification with an error, or of an item that is not known, is used up without effect.
bool Subscription::takeInFront(std::vector<bool>& seen) {
    ItemNotification& front = notificationQueue_.front();
    MonitoredItem* item = front.item();
    if (item != nullptr && !front.failed()) {
        const auto index = static_cast<std::size_t>(item->index());
        if (seen.at(index)) {
            return false;
        }
        item->set(front.value());
        seen[index] = true;
    }
    notificationQueue_.pop();
    return true;
}

void Subscription::appendLastValues(VeltoList* out) const {
    out->stuffAscii(out->datalength(), nullptr, 0);  // hosts expect every line to begin with it
    for (const MonitoredItem& item : items_) {
        exportOptions_.addNestedDataValue(out, item.lastValue());
    }
}

}  // namespace nimb
