#include "subscription/subscription.h"

#include <open62541/client_subscriptions.h>

#include <cmath>

#include "client/clock.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "convert/string_mode.h"
#include "errors/log_file.h"
#include "subscription/stack_callbacks.h"

namespace nimb {

namespace {

using CreateResponse = Owned<UA_CreateSubscriptionResponse, UA_TYPES_CREATESUBSCRIPTIONRESPONSE>;
using DeleteResponse = Owned<UA_DeleteSubscriptionsResponse, UA_TYPES_DELETESUBSCRIPTIONSRESPONSE>;

UA_CreateSubscriptionRequest stackRequest(const SubscriptionRequest& request) {
    UA_CreateSubscriptionRequest result = UA_CreateSubscriptionRequest_default();
    result.requestedPublishingInterval = request.publishingInterval;
    result.requestedLifetimeCount = request.lifetimeCount;
    result.requestedMaxKeepAliveCount = request.keepAliveCount;
    result.maxNotificationsPerPublish = request.maxNotifications;
    return result;
}

UA_StatusCode firstResult(const UA_DeleteSubscriptionsResponse& response) {
    if (response.resultsSize != 0) {
        return response.results[0];
    }
    const UA_StatusCode service = response.responseHeader.serviceResult;
    return service == UA_STATUSCODE_GOOD ? UA_STATUSCODE_BADUNKNOWNRESPONSE : service;
}

}  // namespace

Subscription::Subscription(OpcuaClient* client, int maxQueueSize)
    : client_(client),
      maxQueueSize_(maxQueueSize),
      exportOptions_(resultExporter(VARIANT_NESTED, DATA_VALUE_WITH_TIMES)) {
    clock_gettime(CLOCK_MONOTONIC_COARSE, &lastChange_);
}

Subscription::~Subscription() {
    const UAC_SUBSCRIPTION_STATUS status = status_;
    status_ = DEACTIVATED;
    if (status == UNINITIALIZED || status == SERVER_DELETED) {
        return;
    }
    try {
        static_cast<void>(deleteOnServer());
    } catch (...) {
        // The server forgets the subscription when its lifetime ends.
    }
}

UACErr Subscription::createSubscriptionOnServer(SubscriptionRequest& request) {
    if (status_ != UNINITIALIZED) {
        return {UACERR_APPLICATION, APPERR_OTHER,
                "Initialization attempted on already initialized subscription"};
    }
    UA_Client* stack = client_->stackClient();
    if (stack == nullptr) {
        return UACErr::client("Null client");
    }
    CreateResponse response;
    if (client_->sessionMayBeUsed()) {
        const auto call = StackCall::request(stack);
        response.reset(UA_Client_Subscriptions_create(stack, stackRequest(request), client_,
                                                      UAC_StatusChangeNotificationCallback,
                                                      UAC_DeleteSubscriptionCallback));
    } else {
        response->responseHeader.serviceResult = UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status, "Unable to create subscription. Call failed.");
    }
    subscriptionId_ = response->subscriptionId;
    status_ = ACTIVE;
    if (!std::isfinite(response->revisedPublishingInterval)) {
        return {UACERR_SERVER, UACErr::kGeneralCode,
                "The server's publishing interval is not a number"};
    }
    request.publishingInterval = response->revisedPublishingInterval;
    request.lifetimeCount = response->revisedLifetimeCount;
    request.keepAliveCount = response->revisedMaxKeepAliveCount;
    keepAliveTime_ = request.publishingInterval * request.keepAliveCount;
    return {};
}

UACErr Subscription::deleteOnServer() {
    UA_Client* stack = client_->stackClient();
    if (stack == nullptr) {
        return {UACERR_CLIENT, APPERR_OTHER,
                "Attempt to delete subscription on server using a null client"};
    }
    UA_DeleteSubscriptionsRequest request{};
    request.subscriptionIds = &subscriptionId_;
    request.subscriptionIdsSize = 1;
    DeleteResponse response;
    if (client_->sessionMayBeUsed()) {
        const auto call = StackCall::request(stack);
        response.reset(UA_Client_Subscriptions_delete(stack, request));
    } else {
        response->responseHeader.serviceResult = UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
    const UA_StatusCode status = firstResult(*response);
    if (status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status,
                             "Error encountered during subscription deletion attempt (sub_id=%d)",
                             static_cast<int>(subscriptionId_));
    }
    return {};
}

void Subscription::serverStatusChanged(UA_StatusCode status) {
    client_->noteReport();
    const bool good = status == UA_STATUSCODE_GOOD;
    if (status_ == ACTIVE && !good) {
        status_ = SERVER_ERROR;
    } else if (status_ == SERVER_ERROR && good) {
        status_ = ACTIVE;
    }
}

bool Subscription::serverDeleted() {
    client_->noteReport();
    if (status_ == DEACTIVATED || status_ == SERVER_DELETED) {
        return false;
    }
    status_ = SERVER_DELETED;
    return true;
}

std::string Subscription::getStatusString(UAC_SUBSCRIPTION_STATUS status) {
    switch (status) {
        case UNINITIALIZED:
            return "UNINITIALIZED";
        case ACTIVE:
            return "ACTIVE";
        case DEACTIVATED:
            return "DEACTIVATED";
        case SERVER_ERROR:
            return "SERVER ERROR";
        case SERVER_DELETED:
            return "SERVER DELETED";
        default:
            return "UNKNOWN";
    }
}

}  // namespace nimb
