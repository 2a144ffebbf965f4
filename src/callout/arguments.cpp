#include "callout/arguments.h"

#include <exception>

#include "callout/handle_map.h"
#include "client/opcua_client.h"

namespace nimb {

namespace {

VeltoROList boundedView(const HostBytes* input) {
    if (input == nullptr || input->length > HostBytes::capacity) {
        throw std::exception();
    }
    return {input->data, input->length};
}

}  // namespace

Arguments::Arguments(const HostBytes* input) : list_(boundedView(input)) {}

OpcuaClient& Arguments::clientOf(long handle) {
    OpcuaClient* client = HandleMap<OpcuaClient>::getMap().find(handle);
    if (client == nullptr) {
        throw UACErr(UACERR_APPLICATION, APPERR_BAD_HANDLE);
    }
    return *client;
}

}  // namespace nimb
