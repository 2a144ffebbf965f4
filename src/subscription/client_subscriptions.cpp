#include <open62541/client_subscriptions.h>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "list/nested_list.h"
#include "subscription/stack_callbacks.h"
#include "subscription/subscription.h"

namespace nimb {

namespace {

constexpr int kMaxPerLine = 9999;  // notifications folded into one line

void appendQueueState(VeltoList& statistics, const Subscription& subscription) {
    statistics += static_cast<unsigned long>(subscription.getQueueSize());
    statistics += static_cast<int>(subscription.getQueueLossCount());
}

}  // namespace

void OpcuaClient::SubscriptionDeleter::operator()(Subscription* subscription) const {
    delete subscription;
}

void OpcuaClient::watchSubscriptions(UA_ClientConfig* config) {
    config->subscriptionInactivityCallback = UAC_SubscriptionInactivityCallback;
}

void OpcuaClient::discardSubscriptions() {
    for (const auto& [id, subscription] : subscriptions_) {
        subscription->endWithSession();
    }
    subscriptions_.clear();
}

Subscription* OpcuaClient::getSubscription(unsigned int id) const {
    const auto entry = subscriptions_.find(id);
    return entry == subscriptions_.end() ? nullptr : entry->second.get();
}

UACErr OpcuaClient::createSubscription(unsigned int* id, const NodeIdArray& ids,
                                       SubscriptionRequest& request) {
    catchUpAfterIdleTime();
    if (resetRequired_) {
        return clientResetRequired();
    }
    if (ids.size() == 0) {
        return {UACERR_CLIENT, 9, "Empty node list, there is nothing to follow"};
    }
    auto created = std::unique_ptr<Subscription, SubscriptionDeleter>(
        new Subscription(this, request.maxQueueSize));
    if (UACErr error = created->createSubscriptionOnServer(request); error.isError()) {
        return error;
    }
    auto& entry = subscriptions_[created->id()];
    if (entry != nullptr && entry->status() != Subscription::DEACTIVATED &&
        entry->status() != Subscription::SERVER_DELETED) {
        created->endWithSession();  // the server's new subscription bears the old one's id
        return {UACERR_UNKNOWN, 10, "Duplicate subscription handle error"};
    }
    entry = std::move(created);
    *id = entry->id();
    return entry->addMonitoredItemsOnServer(ids, request);
}

UACErr OpcuaClient::pollSubscription(VeltoList* out, unsigned int id, unsigned short timeout,
                                     int maxLines) {
    if (UACErr error = checkUsable(); error.isError()) {
        return error;
    }
    Subscription* subscription = getSubscription(id);
    if (subscription == nullptr) {
        return {UACERR_APPLICATION, APPERR_OTHER, "Subscription not found (handle=%d)",
                static_cast<int>(id)};
    }
    UACErr error;
    int lineCount = 0;
    try {
        VeltoList statistics;
        statistics += subscription->getMaxQueueSize();
        appendQueueState(statistics, *subscription);
        {
            const auto call = StackCall::drive(client_.get(), timeout);
            UA_Client_run_iterate(client_.get(), timeout);
        }
        appendQueueState(statistics, *subscription);
        VeltoList& lines = subscription->emptyLines();
        lineCount = subscription->getNewOutputLines(&lines, maxLines, kMaxPerLine);
        appendQueueState(statistics, *subscription);
        *out += lineCount;
        *out += lines;
        *out += statistics;
    } catch (const UACErr& raised) {
        error = raised;
    } catch (...) {
        error = UACErr(UACERR_UNKNOWN, 10, "Error retrieving notifications");
    }
    if (lineCount == 0 && subscription->status() != Subscription::ACTIVE) {
        return {UACERR_SERVER, 9, "Non-active subscription status (%s)",
                Subscription::getStatusString(subscription->status()).c_str()};
    }
    return error;
}

UACErr OpcuaClient::deleteSubscription(unsigned int id) {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    catchUpAfterIdleTime();
    Subscription* subscription = getSubscription(id);
    if (subscription == nullptr) {
        return {UACERR_APPLICATION, APPERR_OTHER,
                "Subscription not found : handle = %u, subscription count = %d", id,
                static_cast<int>(subscriptions_.size())};
    }
    UACErr error = subscription->deleteOnServer();
    // Found by the stack's callbacks until here; from here on the id is unknown, also to those of
    // a second request that the destructor may send.
    const auto discarded = std::move(subscriptions_.extract(id).mapped());
    return error;
}

}  // namespace nimb
