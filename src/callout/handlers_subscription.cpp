#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "client/specification.h"
#include "subscription/subscription_request.h"

namespace nimb {

namespace {

SubscriptionRequest requestOf(const Arguments& arguments) {
    SubscriptionRequest request;
    request.publishingInterval = arguments[2].AsDouble();
    request.lifetimeCount = static_cast<UA_UInt32>(arguments[3].AsLong());
    request.keepAliveCount = static_cast<UA_UInt32>(arguments[4].AsLong());
    request.maxNotifications = static_cast<UA_UInt32>(arguments[5].AsLong());
    request.samplingInterval = arguments[6].AsDouble();
    request.itemQueueSize = static_cast<UA_UInt32>(arguments[7].AsLong());
    request.maxQueueSize = static_cast<int>(arguments[8].AsLong());
    return request;
}

void appendRevised(VeltoList& results, unsigned int id, const SubscriptionRequest& revised) {
    results += static_cast<long long>(id);
    results += revised.publishingInterval;
    results += static_cast<int>(revised.lifetimeCount);
    results += static_cast<int>(revised.keepAliveCount);
    results += static_cast<int>(revised.maxNotifications);
    results += revised.samplingInterval;
    results += static_cast<int>(revised.itemQueueSize);
}

}  // namespace

void OpcuaStatic::createSubscriptionB(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B16]", 9, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        const VeltoROList nodes = arguments[1].AsVeltoROList();
        SubscriptionRequest request = requestOf(arguments);
        Specification specification;
        if (UACErr error = specification.set(nodes); error.isError()) {
            return error;
        }
        OpcuaClient* client = clientOf(handle);
        if (client == nullptr) {
            return badHandle();
        }
        unsigned int id = 0;
        UACErr error = client->createSubscription(&id, specification.nodeIds(), request);
        if (!error.isError()) {
            appendRevised(results, id, request);
        }
        return error;
    });
}

void OpcuaStatic::pollSubscription(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B17]", 5, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        const auto id = static_cast<unsigned int>(arguments[1].AsLongLong());
        const auto timeout = static_cast<unsigned short>(arguments[2].AsLong());
        const auto maxLines = static_cast<int>(arguments[3].AsLong());
        const bool mustExist = arguments[4].AsLong() != 0;
        OpcuaClient* client = clientOf(handle);
        if (client == nullptr) {
            return badHandle();
        }
        if (mustExist && client->getSubscription(id) == nullptr) {
            client->setResetRequired(true);
            return {UACERR_INCOMPLETE, APPERR_OTHER, "Client reset required [ps]"};
        }
        return client->pollSubscription(&results, id, timeout, maxLines);
    });
}

void OpcuaStatic::deleteSubscription(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B18]", 2, [](const Arguments& arguments, VeltoList&) -> UACErr {
        const long handle = arguments.handle();
        const auto id = static_cast<unsigned int>(arguments[1].AsLongLong());
        OpcuaClient* client = clientOf(handle);
        return client == nullptr ? badHandle() : client->deleteSubscription(id);
    });
}

}  // namespace nimb
