#include <open62541/types.h>

#include "client/opcua_client.h"
#include "errors/error_names.h"

namespace nimb {

namespace {

/// Indexed by the state numbers that hosts know. Unlike the session's, the channel's numbering
/// begins with the undefined state and ends with the closed one.
constexpr const char* kChannelStateNames[] = {
    "StateUndefined", "HelSent", "HelReceived", "AckSent", "AckReceived",
    "OpnSent",        "Open",    "Closing",     "Closed",
};
constexpr const char* kSessionStateNames[] = {
    "Closed", "CreateRequested", "Created", "ActivateRequested", "Activated", "Closing",
};

}  // namespace

const char* OpcuaClient::getStatusCodeName(unsigned int statusCode) {
    return UA_StatusCode_name(statusCode);
}

/// The state is given by its parts: Compatibility C28.
const char* OpcuaClient::getClientStateName(long /*state*/) { return "Deprecated"; }

const char* OpcuaClient::getSecureChannelStateName(long state) {
    return nameAt(kChannelStateNames, state, "StateUndefined");
}

const char* OpcuaClient::getSessionStateName(long state) {
    return nameAt(kSessionStateNames, state, "Undefined");
}

}  // namespace nimb
