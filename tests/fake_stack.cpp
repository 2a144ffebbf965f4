#include "fake_stack.h"

#include <open62541/client.h>

#include <algorithm>
#include <string>

namespace nimb::test {

namespace {

FakeStack* stack = nullptr;

void runOnce(std::function<void()>& work) {
    if (const auto once = std::exchange(work, nullptr)) {
        once();
    }
}

OwnedVariant copyOf(const void* value, std::size_t type) {
    OwnedVariant variant;
    UA_Variant_setScalarCopy(variant.get(), value, &UA_TYPES[type]);
    return variant;
}

}  // namespace

OwnedVariant textValue(std::string_view text) {
    const std::string bytes(text);
    OwnedString string(UA_String_fromChars(bytes.c_str()));
    return copyOf(string.get(), UA_TYPES_STRING);
}

OwnedVariant guidValue() {
    const UA_Guid guid{};
    return copyOf(&guid, UA_TYPES_GUID);
}

/// The members that the stack's functions reach.
struct FakeStackCalls {
    static UA_CreateSubscriptionResponse create(UA_Client* client,
                                                const UA_CreateSubscriptionRequest& request,
                                                void* context,
                                                UA_Client_StatusChangeNotificationCallback status,
                                                UA_Client_DeleteSubscriptionCallback deleted) {
        stack->client_ = client;
        stack->context_ = context;
        stack->statusChanged_ = status;
        stack->subscriptionDeleted_ = deleted;
        UA_CreateSubscriptionResponse response{};
        response.subscriptionId = stack->subscriptionId;
        response.revisedPublishingInterval = stack->revisedInterval;
        response.revisedMaxKeepAliveCount = request.requestedMaxKeepAliveCount;
        return response;
    }

    static void ask(const UA_RepublishRequest& question, UA_ClientAsyncServiceCallback answered,
                    UA_UInt32* requestId) {
        stack->questions.push_back(question);
        stack->answered_ = answered;
        *requestId = ++stack->lastQuestion_;
    }

    static UA_CreateMonitoredItemsResponse createItems(
        const UA_CreateMonitoredItemsRequest& request,
        UA_Client_DataChangeNotificationCallback changed,
        UA_Client_DeleteMonitoredItemCallback deleted) {
        stack->dataChanged_ = changed;
        stack->itemDeleted_ = deleted;
        runOnce(stack->duringItems);
        std::vector<UA_MonitoredItemCreateResult> results = stack->itemResults;
        if (results.empty()) {
            results.resize(request.itemsToCreateSize);
            for (std::uint32_t i = 0; i < results.size(); ++i) {
                results[i].monitoredItemId = 101 + i;
            }
        }
        UA_CreateMonitoredItemsResponse response{};
        if (stack->answersItems) {
            response.results = static_cast<UA_MonitoredItemCreateResult*>(
                UA_Array_new(results.size(), &UA_TYPES[UA_TYPES_MONITOREDITEMCREATERESULT]));
            response.resultsSize = results.size();
            std::copy(results.begin(), results.end(), response.results);
        }
        return response;
    }
};

FakeStack::FakeStack() { stack = this; }
FakeStack::~FakeStack() { stack = nullptr; }

void FakeStack::change(std::uint32_t item, OwnedVariant value, UA_DateTime sourceTime,
                       UA_DateTime serverTime) {
    OwnedDataValue data;
    data->value = value.release();
    data->hasValue = true;
    data->sourceTimestamp = sourceTime;
    data->serverTimestamp = serverTime;
    dataChanged_(nullptr, subscriptionId, context_, item, context_, data.get());
}

void FakeStack::change(std::uint32_t item, std::string_view text) {
    change(item, textValue(text), ++clock_);
}

void FakeStack::statusChange(UA_StatusCode status) {
    UA_StatusChangeNotification notification{};
    notification.status = status;
    statusChanged_(nullptr, subscriptionId, context_, &notification);
}

void FakeStack::deleted() { subscriptionDeleted_(nullptr, subscriptionId, context_); }

void FakeStack::itemDeleted(std::uint32_t item) {
    itemDeleted_(nullptr, subscriptionId, context_, item, context_);
}

void FakeStack::silent() {
    UA_Client_getConfig(client_)->subscriptionInactivityCallback(client_, subscriptionId, context_);
}

void FakeStack::answer(UA_StatusCode status) {
    const auto requestId = lastQuestion_ + 1 - static_cast<std::uint32_t>(questions.size());
    questions.erase(questions.begin());
    UA_RepublishResponse response{};
    response.responseHeader.serviceResult = status;
    answered_(nullptr, context_, requestId, &response);
}

}  // namespace nimb::test

using nimb::test::FakeStackCalls;
using nimb::test::runOnce;
using nimb::test::stack;

UA_StatusCode __UA_Client_connect(UA_Client* /*client*/, UA_Boolean async) {
    stack->reconnects += async ? 1 : 0;
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode UA_Client_run_iterate(UA_Client* /*client*/, UA_UInt32 /*timeout*/) {
    ++stack->iterations;
    runOnce(stack->duringIterate);
    return stack->iterateResult;
}

UA_StatusCode __UA_Client_AsyncService(UA_Client* /*client*/, const void* request,
                                       const UA_DataType* /*requestType*/,
                                       UA_ClientAsyncServiceCallback callback,
                                       const UA_DataType* /*responseType*/, void* /*userdata*/,
                                       UA_UInt32* requestId) {
    FakeStackCalls::ask(*static_cast<const UA_RepublishRequest*>(request), callback, requestId);
    return UA_STATUSCODE_GOOD;
}

UA_CreateSubscriptionResponse UA_Client_Subscriptions_create(
    UA_Client* client, const UA_CreateSubscriptionRequest request, void* subscriptionContext,
    UA_Client_StatusChangeNotificationCallback statusChangeCallback,
    UA_Client_DeleteSubscriptionCallback deleteCallback) {
    return FakeStackCalls::create(client, request, subscriptionContext, statusChangeCallback,
                                  deleteCallback);
}

UA_DeleteSubscriptionsResponse UA_Client_Subscriptions_delete(
    UA_Client* /*client*/, const UA_DeleteSubscriptionsRequest /*request*/) {
    ++stack->deleteRequests;
    runOnce(stack->duringDelete);
    UA_DeleteSubscriptionsResponse response{};
    response.results = static_cast<UA_StatusCode*>(UA_Array_new(1, &UA_TYPES[UA_TYPES_STATUSCODE]));
    response.resultsSize = 1;
    response.results[0] = stack->deleteResult;
    return response;
}

UA_CreateMonitoredItemsResponse UA_Client_MonitoredItems_createDataChanges(
    UA_Client* /*client*/, const UA_CreateMonitoredItemsRequest request, void** /*contexts*/,
    UA_Client_DataChangeNotificationCallback* callbacks,
    UA_Client_DeleteMonitoredItemCallback* deleteCallbacks) {
    return FakeStackCalls::createItems(request, callbacks[0], deleteCallbacks[0]);
}
