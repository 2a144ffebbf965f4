#include "client/opcua_client.h"

namespace nimb {

UACErr OpcuaClient::checkUsable() const {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    return resetRequired_ ? clientResetRequired() : UACErr();
}

// open62541 1.4 reports the session as closed after a disconnect, after a failed connect and
// before the first one, but as created after a connection lost by accident: that one the stack may
// restore.
bool OpcuaClient::sessionMayBeUsed() const {
    UA_SessionState session = UA_SESSIONSTATE_CLOSED;
    UA_Client_getState(client_.get(), nullptr, &session, nullptr);
    return session != UA_SESSIONSTATE_CLOSED;
}

void OpcuaClient::callService(const void* request, const UA_DataType* requestType, void* response,
                              const UA_DataType* responseType) {
    if (!sessionMayBeUsed()) {
        // Every response begins with its header.
        static_cast<UA_ResponseHeader*>(response)->serviceResult =
            UA_STATUSCODE_BADCONNECTIONCLOSED;
        return;
    }
    __UA_Client_Service(client_.get(), request, requestType, response, responseType);
}

}  // namespace nimb
