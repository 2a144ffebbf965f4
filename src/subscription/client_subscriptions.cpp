#include <open62541/client_subscriptions.h>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "subscription/stack_callbacks.h"
#include "subscription/subscription.h"

namespace nimb {

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

Subscription* OpcuaClient::subscriptionAwaiting(std::uint32_t requestId) const {
    for (const auto& [id, subscription] : subscriptions_) {
        if (subscription->awaits(requestId)) {
            return subscription.get();
        }
    }
    return nullptr;
}

UACErr OpcuaClient::createSubscription(unsigned int* id, const NodeIdArray& ids,
                                       SubscriptionRequest& request) {
    catchUpAfterIdleTime();
    if (resetRequired_) {
        return clientResetRequired();
    }
    if (ids.size() == 0) {
        return {UACERR_CLIENT, APPERR_OTHER, "Empty node list, there is nothing to follow"};
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
        return UACErr::unknown("Duplicate subscription handle error");
    }
    entry = std::move(created);
    *id = entry->id();
    UACErr error = entry->addMonitoredItemsOnServer(ids, request);
    if (error.isError()) {
        entry->boundUntilPolled();
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
