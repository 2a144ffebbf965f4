#include <open62541/types.h>

#include <cstddef>

#include "client/opcua_client.h"

namespace nimb {

namespace {

// Indexed by the state numbers that hosts know. Unlike the session's, the channel's numbering
// begins with the undefined state and ends with the closed one.
constexpr const char* kChannelStateNames[] = {
    "StateUndefined", "HelSent", "HelReceived", "AckSent", "AckReceived",
    "OpnSent",        "Open",    "Closing",     "Closed",
};
constexpr const char* kSessionStateNames[] = {
    "Closed", "CreateRequested", "Created", "ActivateRequested", "Activated", "Closing",
};

template <std::size_t Size>
const char* nameOf(const char* const (&names)[Size], long state, const char* otherwise) {
    const bool known = state >= 0 && state < static_cast<long>(Size);
    return known ? names[state] : otherwise;
}

}  // namespace

const char* OpcuaClient::getStatusCodeName(unsigned int statusCode) {
    return UA_StatusCode_name(statusCode);
}

// Hosts once asked for a state that is now given by its parts.
const char* OpcuaClient::getClientStateName(long /*state*/) { return "Deprecated"; }

const char* OpcuaClient::getSecureChannelStateName(long state) {
    return nameOf(kChannelStateNames, state, "StateUndefined");
}

const char* OpcuaClient::getSessionStateName(long state) {
    return nameOf(kSessionStateNames, state, "Undefined");
}

}  // namespace nimb
