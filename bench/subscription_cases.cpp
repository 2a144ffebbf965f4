#include <open62541/client_subscriptions.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "bench_nodes.h"
#include "cases.h"
#include "checks.h"
#include "demo_server/address_space.h"
#include "testbed/server_process.h"

namespace nimb::bench {

namespace {

constexpr std::uint32_t itemCount = 200;
constexpr int itemQueue = 1;
constexpr UA_UInt16 patience = 1000;  // milliseconds that one call may wait for notifications
constexpr UA_UInt16 noPatience = 0;

std::vector<plant::NodeAddress> followedNodes() {
    std::vector<plant::NodeAddress> nodes;
    for (std::uint32_t i = 0; i < itemCount; ++i) nodes.push_back(doubleNode(i));
    return nodes;
}

/// Runs `step` until the count of delivered notifications has grown. Some steps bring nothing: the
/// stack rounds its waits down to milliseconds, and looks without waiting when a timer is nearly
/// due.
template <typename Count, typename Step>
void untilDelivered(const Count& delivered, Step step) {
    constexpr int enough = 1000;
    const Count before = delivered;
    for (int i = 0; i < enough; ++i) {
        step();
        if (delivered != before) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    require(false, "notifications that do not come");
}

/// The adapter's side: one poll hands out at most one line, or the result would not fit.
class PolledSubscription {
  public:
    PolledSubscription(const Setting& setting, double interval)
        : session_(setting.library, setting.url),
          id_(session_.subscribe(followedNodes(), interval, itemQueue)),
          poll_(pollEntry(patience)),
          hastyPoll_(pollEntry(noPatience)) {}

    void poll() {
        untilDelivered(delivered_, [this] { count(poll_.call()); });
    }

    /// Until nothing is left in the queue and nothing comes; then to the next change.
    void settle() {
        double before;
        do {
            before = delivered_;
            count(hastyPoll_.call());
        } while (delivered_ != before);
        poll();
    }

    /// Takes the values that every subscription begins with.
    void settleFirstValues() {
        while (delivered_ < itemCount) poll();
    }

    /// A poll that finds nothing.
    void look() { hastyPoll_(); }
    void checkLook() {
        require(hastyPoll_.call().at(0).AsLong() == 0, "a poll with nothing to tell");
    }

    void check() {
        for (int i = 0; i < 20; ++i) poll();  // the first lines hold initial values
        const VeltoROList lines = poll_.results().at(1).AsVeltoROList();
        checkLine(lines.at(0).AsVeltoROList(), itemCount);
    }

    double delivered() const { return delivered_; }

  private:
    Entry pollEntry(int timeout) {
        return session_.entry("zfPollSubscription", VeltoList() + id_ + timeout + 1 + 0);
    }

    void count(const VeltoROList& results) {
        const VeltoROList statistics = results.at(2).AsVeltoROList();
        delivered_ += statistics.at(3).AsDouble() - statistics.at(5).AsDouble();
        require(statistics.at(6).AsLong() == 0, "lost notifications");
    }

    AdapterSession session_;
    long id_;
    Entry poll_;
    Entry hastyPoll_;
    double delivered_ = 0;
};

/// The bare stack's side: every notification is counted.
class CountedSubscription {
  public:
    CountedSubscription(const Setting& setting, double interval) : session_(setting.url) {
        UA_CreateSubscriptionRequest request = UA_CreateSubscriptionRequest_default();
        request.requestedPublishingInterval = interval;
        auto created =
            UA_Client_Subscriptions_create(session_.client(), request, nullptr, nullptr, nullptr);
        require(created.responseHeader.serviceResult == UA_STATUSCODE_GOOD, "raw subscription");
        addItems(created.subscriptionId, interval);
    }

    void iterate() {
        untilDelivered(*count_, [this] { UA_Client_run_iterate(session_.client(), patience); });
    }
    void settle() {
        long before;
        do {
            before = *count_;
            UA_Client_run_iterate(session_.client(), noPatience);
        } while (*count_ != before);
        iterate();
    }
    double delivered() const { return static_cast<double>(*count_); }
    void look() { UA_Client_run_iterate(session_.client(), noPatience); }

  private:
    static void count(UA_Client*, UA_UInt32, void*, UA_UInt32, void* counter, UA_DataValue*) {
        ++*static_cast<long*>(counter);
    }

    void addItems(UA_UInt32 subscription, double interval) {
        std::vector<UA_MonitoredItemCreateRequest> items;
        for (const auto& node : followedNodes()) {
            UA_MonitoredItemCreateRequest& item =
                items.emplace_back(UA_MonitoredItemCreateRequest_default(plant::stackId(node)));
            item.requestedParameters.samplingInterval = interval;
            item.requestedParameters.queueSize = itemQueue;
        }
        UA_CreateMonitoredItemsRequest request{};
        request.subscriptionId = subscription;
        request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
        request.itemsToCreate = items.data();
        request.itemsToCreateSize = items.size();
        std::vector<void*> contexts(items.size(), count_.get());
        std::vector<UA_Client_DataChangeNotificationCallback> callbacks(items.size(), count);
        std::vector<UA_Client_DeleteMonitoredItemCallback> deletions(items.size(), nullptr);
        plant::Owned<UA_CreateMonitoredItemsResponse, UA_TYPES_CREATEMONITOREDITEMSRESPONSE>
            response;
        *response = UA_Client_MonitoredItems_createDataChanges(
            session_.client(), request, contexts.data(), callbacks.data(), deletions.data());
        require(response->resultsSize == items.size(), "raw monitored items");
    }

    std::unique_ptr<long> count_ = std::make_unique<long>(0);
    RawSession session_;  // counts until it is closed, so it goes first
};

/// Milliseconds.
constexpr int never = 3600000;
constexpr int quietInterval = 500;  // of subscriptions to values that hold still

struct Followers {
    Followers(host::Library& library, int interval)
        : server(NIMB_BENCH_SERVER,
                 {"--change", std::to_string(itemCount) + ":" + std::to_string(interval)}),
          setting{library, server.url()},
          adapter(setting, std::min(interval, quietInterval)),
          raw(setting, std::min(interval, quietInterval)),
          control(setting, std::min(interval, quietInterval)) {}

    test::ServerProcess server;
    Setting setting;
    PolledSubscription adapter;
    CountedSubscription raw;
    CountedSubscription control;
};

Contest followContest(const Setting& setting, int interval) {
    const auto all = std::make_shared<Followers>(setting.library, interval);
    const auto counted = [all](CountedSubscription& side) {
        return Side{[all, &side] { side.iterate(); }, [&side] { return side.delivered(); },
                    [&side] { side.settle(); }};
    };
    return {{[all] { all->adapter.poll(); }, [all] { return all->adapter.delivered(); },
             [all] { all->adapter.settle(); }},
            counted(all->raw),
            counted(all->control),
            [all] { all->adapter.check(); }};
}

Case followCase(int interval, const Plan& plan) {
    return {"notification, 200 items every " + std::to_string(interval) + " ms", Unit::ratio, 1.15,
            plan, [interval](const Setting& setting) { return followContest(setting, interval); }};
}

Contest emptyContest(const Setting& setting) {
    const auto all = std::make_shared<Followers>(setting.library, never);
    all->adapter.settleFirstValues();
    for (CountedSubscription* side : {&all->raw, &all->control}) {
        while (side->delivered() < itemCount) side->iterate();
    }
    return {{[all] { all->adapter.look(); }},
            {[all] { all->raw.look(); }},
            {[all] { all->control.look(); }},
            [all] { all->adapter.checkLook(); }};
}

}  // namespace

void addSubscriptionCases(std::vector<Case>& cases) {
    cases.push_back(followCase(50, {10, 1, 15}));
    cases.push_back(followCase(10, {10, 1, 80}));
    cases.push_back({"poll with nothing to tell", Unit::ratio, 1.3, {200, 1, 50}, emptyContest});
}

}  // namespace nimb::bench
