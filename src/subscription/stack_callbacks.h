#pragma once

#include <open62541/client_subscriptions.h>

namespace nimb {

/// @name What the stack calls
/// The context is the OpcuaClient for subscriptions and items alike; the subscription is found by
/// its id, because the stack may still report on one that is gone. open62541 1.4 calls these from
/// within any service call, from the deletion of a subscription and from a disconnect. None sends
/// anything, deletes anything, or lets an exception into the stack.
/// @{
void UAC_StatusChangeNotificationCallback(UA_Client* stack, UA_UInt32 subscriptionId, void* context,
                                          UA_StatusChangeNotification* notification) noexcept;
void UAC_DeleteSubscriptionCallback(UA_Client* stack, UA_UInt32 subscriptionId,
                                    void* context) noexcept;
void UAC_DataChangeNotificationCallback(UA_Client* stack, UA_UInt32 subscriptionId, void* context,
                                        UA_UInt32 monitoredItemId, void* itemContext,
                                        UA_DataValue* value) noexcept;
void UAC_DeleteMonitoredItemCallback(UA_Client* stack, UA_UInt32 subscriptionId, void* context,
                                     UA_UInt32 monitoredItemId, void* itemContext) noexcept;
/// A subscription from which nothing has come for its keep-alive time and the request timeout.
void UAC_SubscriptionInactivityCallback(UA_Client* stack, UA_UInt32 subscriptionId,
                                        void* context) noexcept;
/// The server's answer to the question whether it still has a subscription.
void UAC_SubscriptionAnswerCallback(UA_Client* stack, void* context, UA_UInt32 requestId,
                                    void* response) noexcept;
/// @}

}  // namespace nimb
