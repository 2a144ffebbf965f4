#include "callout/arguments.h"

#include "callout/handle_map.h"
#include "client/opcua_client.h"

namespace nimb {

OpcuaClient& Arguments::clientOf(long handle) {
    OpcuaClient* client = HandleMap<OpcuaClient>::getMap().find(handle);
    if (client == nullptr) {
        throw UACErr(UACERR_APPLICATION, APPERR_BAD_HANDLE);
    }
    return *client;
}

}  // namespace nimb
