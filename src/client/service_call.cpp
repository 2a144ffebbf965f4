#include <algorithm>

#include "client/clock.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"

namespace nimb {

namespace {

/// Unlike the stack's clock it goes on while the machine, or the virtual one, is suspended: servers
/// let channels end meanwhile.
std::int64_t uptime() { return milliseconds(CLOCK_BOOTTIME); }

/// Calls that follow each other faster find the channel as the call before has left it.
constexpr std::int64_t kIdle = 100;  // milliseconds

/// Longest wait for the answer to a renewal of the channel, in milliseconds. A server that gives
/// none costs no more of the host's time.
constexpr UA_UInt32 kRenewalWait = 500;

bool meansSessionIsGone(UA_StatusCode status) {
    return status == UA_STATUSCODE_BADSESSIONIDINVALID || status == UA_STATUSCODE_BADSESSIONCLOSED;
}

}  // namespace

UACErr OpcuaClient::checkUsable() const {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    return resetRequired_ ? clientResetRequired() : UACErr();
}

UACErr OpcuaClient::prepareService() {
    if (UACErr error = checkUsable(); error.isError()) {
        return error;
    }
    catchUpAfterIdleTime();
    return checkUsable();  // a lost subscription may have been reported
}

void OpcuaClient::noteUse() { lastUse_ = uptime(); }

void OpcuaClient::catchUpAfterIdleTime() {
    const std::int64_t now = uptime();
    if (sessionOpened_ && now - lastUse_ >= kIdle) {
        UA_Client* const client = client_.get();
        const UA_UInt32 wait = std::min(UA_Client_getConfig(client)->timeout / 2, kRenewalWait);
        const auto call = StackCall::drive(client, wait, timeOfLastTick());
        // A channel whose time is over ends with the renewal, and a request behind it with both.
        const bool renewing = UA_Client_renewSecureChannel(client) == UA_STATUSCODE_GOOD;
        UA_Client_run_iterate(client, renewing ? wait : 0);
        // open62541 1.4.11 sees an ended connection, lets go of it and begins a new one in a round
        // each. Earlier the next request would still be lost.
        UA_Client_run_iterate(client, 0);
        UA_Client_run_iterate(client, 0);
    }
    lastUse_ = now;
}

void OpcuaClient::noteServiceResult(UA_StatusCode status) {
    if (meansSessionIsGone(status)) {
        // The stack would make a new session by itself, in the middle of which its state says
        // connected. Closed, the state says what the host has to do.
        closeSession();
    }
}

void OpcuaClient::callService(const void* request, const UA_DataType* requestType, void* response,
                              const UA_DataType* responseType) {
    // Every response begins with its header.
    auto* header = static_cast<UA_ResponseHeader*>(response);
    if (!sessionMayBeUsed()) {
        header->serviceResult = UA_STATUSCODE_BADCONNECTIONCLOSED;
        return;
    }
    {
        const auto call = StackCall::request(client_.get());
        __UA_Client_Service(client_.get(), request, requestType, response, responseType);
    }
    noteServiceResult(header->serviceResult);
}

}  // namespace nimb
