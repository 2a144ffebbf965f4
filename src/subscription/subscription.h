#pragma once

#include <cstdint>
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

    /// Queues a change and takes its value over.
    /// @return the queued notification, owned by the queue; null when the queue is full, and then
    ///         the value stays the caller's and the loss is counted
    /// @throws std::bad_alloc  the value then stays the caller's
    ItemNotification* queue(UA_DataValue* value, std::uint32_t monitoredItemId);

    /// The lines made at this poll; the buffer is kept for the next one.
    VeltoList& emptyLines() {
        lines_.Reset();
        return lines_;
    }
    /// Appends lines until the queue is used up, or `maxLines` when that is not 0.
    /// @param maxPerLine  most notifications folded into one line
    /// @return number of lines
    int getNewOutputLines(VeltoList* out, int maxLines, int maxPerLine);
    /// Appends the items of one line: an empty string, then the latest value of every item in
    /// index order. A line takes in a run of notifications that touch each item at most once.
    /// @return 1, or 0 when there was nothing to take in
    int getNextOutputLine(VeltoList* out, int maxPerLine);

    /// What the stack reports.
    void serverStatusChanged(UA_StatusCode status);
    /// @return true when the status changed
    bool serverDeleted();
    /// Writes to the log for how long nothing has come: at least the keep-alive time and the
    /// request timeout, which the stack waits for before it reports.
    void logSilence() const;

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
    /// False while the items are being created: the first values can arrive before the stack has
    /// told their ids. They wait in the queue unprocessed until then.
    [[nodiscard]] bool itemsKnown() const { return itemsKnown_; }

    [[nodiscard]] const UACExport& exportOptions() const { return exportOptions_; }
    /// An empty list for one conversion; its buffer is kept.
    VeltoList* emptyScratch();

  private:
    UACErr fileItems(const UA_CreateMonitoredItemsResponse& response, std::size_t count);
    MonitoredItem& fileItem(std::uint32_t monitoredItemId, std::size_t position,
                            std::size_t results, std::size_t count);
    void processWaiting();
    bool takeInFront(std::vector<bool>& seen);
    void appendLastValues(VeltoList* out) const;

    std::uint32_t subscriptionId_ = 0;
    OpcuaClient* client_;
    std::vector<MonitoredItem> items_;  ///< index 1 first; stays where it is once it is filled
    std::map<std::uint32_t, std::size_t> positionsById_;  ///< in items_
    std::size_t lastFound_ = 0;                           ///< position in items_
    NotificationQueue notificationQueue_;
    std::mutex queueMutex_;  ///< guards the queue and the loss counters against pushes
    int maxQueueSize_;
    std::uint32_t unknownItemLossCount_ = 0;
    std::uint32_t queueLossCount_ = 0;
    UAC_SUBSCRIPTION_STATUS status_ = UNINITIALIZED;
    UACExport exportOptions_;
    bool itemsKnown_ = true;
    double keepAliveTime_ = 0;  ///< milliseconds between signs of life from the server
    std::int64_t lastChange_;   ///< milliseconds of a clock that only goes forward
    VeltoList scratch_;
    VeltoList lines_;
};

}  // namespace nimb
