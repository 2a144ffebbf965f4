#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"
#include "subscription/item_notification.h"
#include "subscription/monitored_item.h"
#include "subscription/notification_queue.h"
#include "subscription/subscription_request.h"

namespace nimb {

class NodeIdArray;
class OpcuaClient;

/// One OPC UA subscription of one client: its monitored items and the changes that wait for the
/// host. Everything runs on the host's thread; the stack's callbacks run within its calls.
class Subscription {
  public:
    enum UAC_SUBSCRIPTION_STATUS : int {
        UNINITIALIZED = 0,   ///< not yet created on the server
        ACTIVE = 1,          ///< notifications flow
        DEACTIVATED = 2,     ///< deleted by the library
        SERVER_ERROR = 3,    ///< the server reported a bad status
        SERVER_DELETED = 4,  ///< the stack reported it deleted
    };

    /// @param client        owner; outlives this object
    /// @param maxQueueSize  0 for no bound; a negative bound never fills
    Subscription(OpcuaClient* client, int maxQueueSize);
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    /// Deletes the subscription on the server too, unless it was never there or is gone.
    ~Subscription();

    /// Creates the subscription on the server and overwrites the request's three intervals with
    /// the revised ones.
    UACErr createSubscriptionOnServer(SubscriptionRequest& request);
    /// Creates one monitored item per node, indexes 1 to n, and overwrites the request's sampling
    /// interval and queue size with the largest and smallest revised ones. Items that the server
    /// refuses are kept and make an error; the others stay active.
    UACErr addMonitoredItemsOnServer(const NodeIdArray& ids, SubscriptionRequest& request);
    UACErr deleteOnServer();

    /// Queues a change, its value converted to the items of a line. A value that hosts have no
    /// form for is queued as failed. What comes before the items are known waits unprocessed. A
    /// full queue counts the loss instead.
    /// @throws std::bad_alloc  nothing is queued then
    void queue(const UA_DataValue& value, std::uint32_t monitoredItemId);
    /// From a creation that failed, whose subscription the host does not learn of: until it is
    /// polled all the same, only about one change an item is queued.
    void boundUntilPolled() { polled_ = false; }
    void setPolled() { polled_ = true; }

    /// Appends lines until the queue is used up, or `maxLines` when that is not 0.
    /// @param maxPerLine  most notifications folded into one line
    /// @return number of lines
    int getNewOutputLines(VeltoList* out, int maxLines, int maxPerLine);
    /// Appends one line as a nested list: an empty string, then the latest value of every item in
    /// index order. A line takes in a run of notifications that touch each item at most once.
    /// @return 1, or 0 when there was nothing to take in
    int getNextOutputLine(VeltoList* out, int maxPerLine);
    /// Bytes of the last line.
    [[nodiscard]] std::size_t lineLength() const { return line_.datalength(); }

    /// What the stack reports.
    void serverStatusChanged(UA_StatusCode status);
    /// @return true when the status changed
    bool serverDeleted();
    /// Nothing has come for at least the keep-alive time and the request timeout, which the stack
    /// waits for before it reports: told in the log, and the server is to be asked.
    void silent();

    /// @name Whether the server still has it
    /// @{

    /// The server is to be asked at the next occasion.
    void suspect() { suspected_ = true; }
    /// Sends the question unless there is nothing to ask or the last one was not long ago. The
    /// answer comes while the stack is driven.
    /// @return whether it was sent
    bool askServer();
    [[nodiscard]] bool awaits(std::uint32_t requestId) const {
        return asking_ && question_ == requestId;
    }
    /// @return true when the subscription turned out to be gone
    bool answered(UA_StatusCode answer);
    /// @}

    /// Keep-alives that the server sends in a second.
    [[nodiscard]] double keepAliveRate() const {
        return keepAliveTime_ > 0 ? 1000 / keepAliveTime_ : 0;
    }

    /// Keeps the destructor from asking the server to delete what ends with the session.
    void endWithSession() { status_ = SERVER_DELETED; }

    static std::string getStatusString(UAC_SUBSCRIPTION_STATUS status);
    [[nodiscard]] UAC_SUBSCRIPTION_STATUS status() const { return status_; }
    [[nodiscard]] std::uint32_t id() const { return subscriptionId_; }
    [[nodiscard]] int getMaxQueueSize() const { return maxQueueSize_; }
    [[nodiscard]] std::uint64_t getQueueSize() const { return notificationQueue_.size(); }
    [[nodiscard]] std::uint32_t getQueueLossCount() const { return queueLossCount_; }
    /// Losses of items that the subscription did not know; part of getQueueLossCount().
    [[nodiscard]] std::uint32_t getUnknownItemLossCount() const { return unknownItemLossCount_; }

    /// @return the item, owned by this object, or null
    [[nodiscard]] MonitoredItem* itemById(std::uint32_t monitoredItemId);

  private:
    UACErr addItems(const UA_CreateMonitoredItemsResponse& response, std::size_t count);
    MonitoredItem& addItem(std::uint32_t monitoredItemId, std::size_t position, std::size_t results,
                           std::size_t count);
    [[nodiscard]] bool full() const;
    bool convert(VeltoList& out, const UA_Variant& value, MonitoredItem* item) const;
    void countLoss(std::uint32_t monitoredItemId);
    void processWaiting();
    /// The position in items_, or ItemNotification::kNoItem. Servers report the items in the order
    /// of their creation or, as open62541 1.4 does, in the reverse one: before the map, the
    /// neighbours of the item found last are asked.
    [[nodiscard]] std::uint32_t positionOf(std::uint32_t monitoredItemId) {
        const auto isAt = [&](std::uint32_t position) {
            return position < items_.size() && items_[position].id() == monitoredItemId;
        };
        if (isAt(lastFound_ - 1)) {
            return --lastFound_;
        }
        return isAt(lastFound_ + 1) ? ++lastFound_ : lookUp(monitoredItemId);
    }
    [[nodiscard]] std::uint32_t lookUp(std::uint32_t monitoredItemId);
    [[nodiscard]] MonitoredItem* itemAt(std::uint32_t position) {
        return position == ItemNotification::kNoItem ? nullptr : &items_[position];
    }
    void takeIn(std::size_t most);
    bool takeInFront();
    void writeLine(VeltoList& out);
    std::uint32_t writeItem(VeltoList& out, const MonitoredItem& item) const;
    [[nodiscard]] double silenceBound() const;

    std::uint32_t subscriptionId_ = 0;
    OpcuaClient* client_;
    std::vector<MonitoredItem> items_;  ///< index 1 first; stays where it is once it is filled
    std::map<std::uint32_t, std::uint32_t> positionsById_;  ///< in items_
    std::uint32_t lastFound_ = 0;                           ///< position in items_
    NotificationQueue notificationQueue_;
    /// Taken around every push. Nothing contends for it: polls take from the queue without it, on
    /// the host's thread, on which the stack's callbacks run too.
    std::mutex queueMutex_;
    int maxQueueSize_;
    std::uint32_t unknownItemLossCount_ = 0;
    std::uint32_t queueLossCount_ = 0;
    UAC_SUBSCRIPTION_STATUS status_ = UNINITIALIZED;
    UACExport exportOptions_;
    /// False while the items are being created: the first values can arrive before the stack has
    /// told their ids.
    bool itemsKnown_ = true;
    bool polled_ = true;        ///< false: created in vain, and not polled since
    double keepAliveTime_ = 0;  ///< milliseconds between signs of life from the server
    timespec lastChange_{};     ///< of a clock that only goes forward
    bool suspected_ = false;
    bool asking_ = false;
    std::uint32_t question_ = 0;     ///< the stack's id of the request that asks
    std::int64_t askedAgainAt_ = 0;  ///< not before
    VeltoList line_;                 ///< the last one, from which the next copies
    std::size_t lineRoom_ = 0;       ///< most bytes that the next one takes beyond the last one's
};

}  // namespace nimb
