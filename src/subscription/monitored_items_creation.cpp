#include <open62541/client_subscriptions.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "subscription/stack_callbacks.h"
#include "subscription/subscription.h"

namespace nimb {

namespace {

using CreateItemsResponse =
    Owned<UA_CreateMonitoredItemsResponse, UA_TYPES_CREATEMONITOREDITEMSRESPONSE>;

UACErr unexpectedLength(std::size_t results, std::size_t count) {
    return UACErr::client("Unexpected server response length (%d,%d)", static_cast<int>(results),
                          static_cast<int>(count));
}

/// The node ids stay the caller's: the stack only reads them.
std::vector<UA_MonitoredItemCreateRequest> itemRequests(const NodeIdArray& ids,
                                                        const SubscriptionRequest& request) {
    std::vector<UA_MonitoredItemCreateRequest> items(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        items[i].itemToMonitor.nodeId = ids[i];
        items[i].itemToMonitor.attributeId = UA_ATTRIBUTEID_VALUE;
        items[i].monitoringMode = UA_MONITORINGMODE_REPORTING;
        items[i].requestedParameters.samplingInterval = request.samplingInterval;
        items[i].requestedParameters.queueSize = request.itemQueueSize;
        items[i].requestedParameters.discardOldest = true;
    }
    return items;
}

/// Values of the first result widened over the others.
UACErr takeRevised(const UA_CreateMonitoredItemsResponse& response, SubscriptionRequest& request) {
    request.samplingInterval = response.results[0].revisedSamplingInterval;
    request.itemQueueSize = response.results[0].revisedQueueSize;
    for (std::size_t i = 0; i < response.resultsSize; ++i) {
        const UA_MonitoredItemCreateResult& result = response.results[i];
        if (!std::isfinite(result.revisedSamplingInterval)) {
            return {UACERR_SERVER, UACErr::kGeneralCode,
                    "The server's sampling interval is not a number (idx=%d)", static_cast<int>(i)};
        }
        request.samplingInterval =
            std::max(request.samplingInterval, result.revisedSamplingInterval);
        request.itemQueueSize = std::min(request.itemQueueSize, result.revisedQueueSize);
    }
    return {};
}

CreateItemsResponse createItems(OpcuaClient* client, std::uint32_t subscriptionId,
                                const NodeIdArray& ids, const SubscriptionRequest& request) {
    std::vector<UA_MonitoredItemCreateRequest> items = itemRequests(ids, request);
    std::vector<void*> contexts(ids.size(), client);
    std::vector<UA_Client_DataChangeNotificationCallback> changeCallbacks(
        ids.size(), UAC_DataChangeNotificationCallback);
    std::vector<UA_Client_DeleteMonitoredItemCallback> deleteCallbacks(
        ids.size(), UAC_DeleteMonitoredItemCallback);
    const auto stackCall = StackCall::request(client->stackClient());
    UA_CreateMonitoredItemsRequest call{};
    call.subscriptionId = subscriptionId;
    call.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    call.itemsToCreate = items.data();
    call.itemsToCreateSize = items.size();
    return CreateItemsResponse(
        UA_Client_MonitoredItems_createDataChanges(client->stackClient(), call, contexts.data(),
                                                   changeCallbacks.data(), deleteCallbacks.data()));
}

}  // namespace

UACErr Subscription::addMonitoredItemsOnServer(const NodeIdArray& ids,
                                               SubscriptionRequest& request) {
    // Compatibility C13.
    if (ids.size() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max())) {
        return UACErr::outOfMemory();
    }
    if (!items_.empty()) {
        return {UACERR_CLIENT, APPERR_OTHER, "Index %d already in use", 1};
    }
    if (client_->stackClient() == nullptr) {
        return UACErr::client("Null client");
    }
    itemsKnown_ = false;
    UACErr error = errorOf(
        [&] {
            const auto response = createItems(client_, subscriptionId_, ids, request);
            UACErr refused = addItems(*response, ids.size());
            return refused.isError() ? refused : takeRevised(*response, request);
        },
        [] { return UACErr::unknown("Unknown error adding monitoring items"); });
    processWaiting();
    return error;
}

UACErr Subscription::addItems(const UA_CreateMonitoredItemsResponse& response, std::size_t count) {
    const std::size_t results = response.resultsSize;
    if (results == 0) {
        return unexpectedLength(results, count);
    }
    items_.reserve(results);
    const UA_MonitoredItemCreateResult* firstBad = nullptr;
    std::size_t failures = 0;
    for (std::size_t i = 0; i < results; ++i) {
        const UA_MonitoredItemCreateResult& result = response.results[i];
        MonitoredItem& item = addItem(result.monitoredItemId, i, results, count);
        item.lastStatus = result.statusCode;
        if (result.statusCode == UA_STATUSCODE_GOOD) {
            item.inactive = false;
            continue;
        }
        item.setError(UACErr::opcua(result.statusCode));
        firstBad = firstBad == nullptr ? &result : firstBad;
        ++failures;
    }
    if (results != count) {
        return unexpectedLength(results, count);
    }
    if (firstBad == nullptr) {
        return {};
    }
    return UACErr::opcua(firstBad->statusCode,
                         "Error in requesting monitoring (idx=%d) : %d total errors in %d requests",
                         static_cast<int>(firstBad - response.results), static_cast<int>(failures),
                         static_cast<int>(count));
}

/// The server gives every refused item the id 0, so a second refused one cannot be added: what
/// comes behind it is then not followed.
MonitoredItem& Subscription::addItem(std::uint32_t monitoredItemId, std::size_t position,
                                     std::size_t results, std::size_t count) {
    const int index = static_cast<int>(position + 1);
    const std::size_t sameId = positionsById_.count(monitoredItemId);
    if (sameId != 0) {
        throw UACErr(UACERR_APPLICATION, APPERR_MALFORMED,
                     "Probable error in DataSource class/specification "
                     "[s.amios:%d,%d,%d,%d,%d,%d,%d]",
                     static_cast<int>(monitoredItemId), index, static_cast<int>(position),
                     static_cast<int>(results), static_cast<int>(count), static_cast<int>(sameId),
                     0);  // indexes run on from item to item and are never taken
    }
    MonitoredItem& item = items_.emplace_back(monitoredItemId, index);
    try {
        positionsById_.emplace(monitoredItemId, static_cast<std::uint32_t>(position));
        return item;
    } catch (const std::bad_alloc&) {
        items_.pop_back();
        throw UACErr::client("Unexpected bad item index record consistency error (%d,%d)",
                             static_cast<int>(monitoredItemId), index);
    }
}

}  // namespace nimb
