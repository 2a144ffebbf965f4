#include <string>

#include "callout/call_frame.h"
#include "callout/handle_map.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "client/secret.h"

namespace nimb {

void OpcuaStatic::createB(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    waitingFrame(out, &kNoInput, "[B4]", [](const Arguments&, VeltoList& results) -> UACErr {
        results += HandleMap<OpcuaClient>::getMap().add(std::make_unique<OpcuaClient>());
        return {};
    });
}

void OpcuaStatic::destroyB(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B7]", [](const Arguments& arguments, VeltoList&) -> UACErr {
        const long handle = arguments.handle();
        UACErr error = Arguments::clientOf(handle).destroy();
        HandleMap<OpcuaClient>::getMap().destroy(handle);
        return error;
    });
}

void OpcuaStatic::connectB(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B8]", [](const Arguments& arguments, VeltoList&) -> UACErr {
        OpcuaClient& client = arguments.client();
        return client.connect(arguments[1].AsAString().c_str());
    });
}

void OpcuaStatic::connectUser(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B8]", [](const Arguments& arguments, VeltoList&) -> UACErr {
        OpcuaClient& client = arguments.client();
        const std::string url = arguments[1].AsAString();
        const std::string user = arguments[2].AsAString();
        const Secret password{arguments[3].AsAString()};
        return client.connect(url.c_str(), user.c_str(), password.text.c_str());
    });
}

void OpcuaStatic::disconnectB(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B9]", [](const Arguments& arguments, VeltoList&) -> UACErr {
        return arguments.client().disconnect();
    });
}

void OpcuaStatic::getClientStateD(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B5]", [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const OpcuaClient& client = arguments.client();
        ClientState state;
        if (UACErr error = client.getState(&state); error.isError()) {
            return error;
        }
        results += static_cast<long long>(state.connectStatus);
        results += state.connected() ? 1 : 0;
        results += state.secureChannelState;
        results += state.sessionState;
        results += client.resetRequired() ? 1 : 0;
        return {};
    });
}

}  // namespace nimb
