#include "client/opcua_client.h"
#include "client/stack_call.h"

namespace nimb {

UACErr OpcuaClient::checkUsable() const {
    if (client_ == nullptr) {
        return {UACERR_APPLICATION, APPERR_UNINITIALIZED};
    }
    return resetRequired_ ? clientResetRequired() : UACErr();
}

void OpcuaClient::callService(const void* request, const UA_DataType* requestType, void* response,
                              const UA_DataType* responseType) {
    if (!sessionMayBeUsed()) {
        // Every response begins with its header.
        static_cast<UA_ResponseHeader*>(response)->serviceResult =
            UA_STATUSCODE_BADCONNECTIONCLOSED;
        return;
    }
    const auto call = StackCall::request(client_.get());
    __UA_Client_Service(client_.get(), request, requestType, response, responseType);
}

}  // namespace nimb
