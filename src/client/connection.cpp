#include "client/opcua_client.h"
#include "client/secret.h"
#include "client/server_check.h"
#include "client/stack_call.h"
#include "client/url_secret.h"
#include "errors/file_descriptor.h"

namespace nimb {

namespace {

constexpr int kChannelOpen = 6;
constexpr int kChannelClosed = 8;

/// open62541 1.4 counts its transport states in; hosts know a shorter row: Compatibility C22.
int hostChannelState(UA_SecureChannelState state) {
    switch (state) {
        case UA_SECURECHANNELSTATE_HEL_SENT:
            return 1;
        case UA_SECURECHANNELSTATE_HEL_RECEIVED:
            return 2;
        case UA_SECURECHANNELSTATE_ACK_SENT:
            return 3;
        case UA_SECURECHANNELSTATE_ACK_RECEIVED:
            return 4;
        case UA_SECURECHANNELSTATE_OPN_SENT:
            return 5;
        case UA_SECURECHANNELSTATE_OPEN:
            return kChannelOpen;
        case UA_SECURECHANNELSTATE_CLOSING:
            return 7;
        case UA_SECURECHANNELSTATE_CLOSED:
            return kChannelClosed;
        default:
            return 0;
    }
}

}  // namespace

bool ClientState::connected() const {
    return secureChannelState == kChannelOpen && sessionState != 0;
}

UACErr OpcuaClient::getState(ClientState* state) const {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED,
                "State enquiry regarding uninitialized client"};
    }
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_Client_getState(client_.get(), &channel, &session, &state->connectStatus);
    state->secureChannelState = hostChannelState(channel);
    state->sessionState = session;
    return {};
}

void OpcuaClient::closeSession() {
    sessionOpened_ = false;
    const auto call = StackCall::goodBye(client_.get());
    UA_Client_disconnect(client_.get());
}

/// Every connect starts from a closed session: asked to connect elsewhere while connected, the
/// stack answers "Good" and stays where it is. When a connect failed between two channels, it goes
/// on with the server that it had found then; only a disconnect makes it forget that one.
UACErr OpcuaClient::closeBeforeConnect(const char* resetText) {
    ClientState state;
    if (client_ == nullptr && !resetRequired_) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    if (client_ != nullptr) {
        if (UACErr error = getState(&state); error.isError()) {
            return error;
        }
        const bool closed = state.secureChannelState == kChannelClosed && state.sessionState == 0;
        if (!closed || !resetRequired_) {
            closeSession();
        }
    }
    // Also when that disconnect ended a subscription.
    if (resetRequired_) {
        return {UACERR_INCOMPLETE, APPERR_OTHER, "%s", resetText};
    }
    return {};
}

UACErr OpcuaClient::connectTo(const char* url) {
    const std::string target = withoutSecret(url);
    if (serverCheck_ != nullptr) {
        serverCheck_->expect(url);
    }
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    {
        const ClosedStreamsTaken meanwhile;  // the event loop opens what it waits with
        const auto call = StackCall::request(client_.get());
        status = UA_Client_connect(client_.get(), target.c_str());
    }
    sessionOpened_ = status == UA_STATUSCODE_GOOD;
    noteUse();
    if (sessionOpened_) {
        return {};
    }
    if (status == UA_STATUSCODE_BADTIMEOUT) {
        const auto timeout = static_cast<int>(UA_Client_getConfig(client_.get())->timeout);
        return UACErr::opcua(status, "Unable to connect to '%s', configured timeout = %d ms",
                             target.c_str(), timeout);
    }
    return UACErr::opcua(status, "Unable to connect to '%s'", target.c_str());
}

UACErr OpcuaClient::connect(const char* url) {
    UACErr error = closeBeforeConnect("Client reset required [c]");
    return error.isError() ? error : connectTo(url);
}

UACErr OpcuaClient::connect(const char* url, const char* user, const char* password) {
    UACErr error = closeBeforeConnect("Client reset required");
    if (error.isError()) {
        return error;
    }
    setUserToken(*UA_Client_getConfig(client_.get()), user, password);
    return connectTo(url);
}

UACErr OpcuaClient::disconnect() {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    closeSession();
    return {};
}

}  // namespace nimb
