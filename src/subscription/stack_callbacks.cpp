#include "subscription/stack_callbacks.h"

#include "client/opcua_client.h"
#include "errors/log_file.h"
#include "subscription/monitored_item.h"
#include "subscription/subscription.h"

namespace nimb {

namespace {

Subscription* find(void* context, UA_UInt32 subscriptionId) {
    auto* client = static_cast<OpcuaClient*>(context);
    return client == nullptr ? nullptr : client->getSubscription(subscriptionId);
}

}  // namespace

void UAC_StatusChangeNotificationCallback(UA_Client* /*stack*/, UA_UInt32 subscriptionId,
                                          void* context,
                                          UA_StatusChangeNotification* notification) noexcept {
    Subscription* subscription = find(context, subscriptionId);
    if (subscription != nullptr && notification != nullptr) {
        subscription->serverStatusChanged(notification->status);
    }
}

void UAC_DeleteSubscriptionCallback(UA_Client* /*stack*/, UA_UInt32 subscriptionId,
                                    void* context) noexcept {
    Subscription* subscription = find(context, subscriptionId);
    if (subscription != nullptr && subscription->serverDeleted()) {
        static_cast<OpcuaClient*>(context)->setResetRequired(true);
    }
}

void UAC_DataChangeNotificationCallback(UA_Client* /*stack*/, UA_UInt32 subscriptionId,
                                        void* context, UA_UInt32 monitoredItemId,
                                        void* /*itemContext*/, UA_DataValue* value) noexcept {
    Subscription* subscription = find(context, subscriptionId);
    if (subscription == nullptr) {
        return;
    }
    try {
        static const UA_DataValue none{};
        subscription->queue(value == nullptr ? none : *value, monitoredItemId);
    } catch (...) {
        // Out of memory: the change is not queued.
        UAC_WriteLogFile("Subscription %u: a change of item %u was lost, memory is exhausted",
                         subscriptionId, monitoredItemId);
    }
}

void UAC_DeleteMonitoredItemCallback(UA_Client* /*stack*/, UA_UInt32 subscriptionId, void* context,
                                     UA_UInt32 monitoredItemId, void* /*itemContext*/) noexcept {
    Subscription* subscription = find(context, subscriptionId);
    if (subscription == nullptr) {
        return;
    }
    if (MonitoredItem* item = subscription->itemById(monitoredItemId)) {
        item->inactive = true;
    }
}

void UAC_SubscriptionInactivityCallback(UA_Client* /*stack*/, UA_UInt32 subscriptionId,
                                        void* context) noexcept {
    if (Subscription* subscription = find(context, subscriptionId)) {
        subscription->silent();
    }
}

void UAC_SubscriptionAnswerCallback(UA_Client* /*stack*/, void* context, UA_UInt32 requestId,
                                    void* response) noexcept {
    auto* client = static_cast<OpcuaClient*>(context);
    Subscription* subscription =
        client == nullptr ? nullptr : client->subscriptionAwaiting(requestId);
    // Every response begins with its header.
    const auto* header = static_cast<const UA_ResponseHeader*>(response);
    if (subscription != nullptr && subscription->answered(header->serviceResult)) {
        client->setResetRequired(true);
    }
}

}  // namespace nimb
