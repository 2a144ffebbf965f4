#include <string>

#include "callout/call_frame.h"
#include "callout/handle_map.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "client/secret.h"

namespace nimb {

void OpcuaStatic::createB(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    waitingFrame(out, &kNoInput, "[B4]", 0, [](const Arguments&, VeltoList& results) -> UACErr {
        results += HandleMap<OpcuaClient>::getMap().add(std::make_unique<OpcuaClient>());
        return {};
    });
}

void OpcuaStatic::destroyB(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B7]", 1,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList&) {
                    UACErr error = client.destroy();
                    HandleMap<OpcuaClient>::getMap().destroy(arguments.handle());
                    return error;
                });
}

void OpcuaStatic::connectB(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B8]", 2,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList&) -> UACErr {
                    return client.connect(arguments[1].AsAString().c_str());
                });
}

void OpcuaStatic::connectUser(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B8]", 4,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList&) -> UACErr {
                    const std::string url = arguments[1].AsAString();
                    const std::string user = arguments[2].AsAString();
                    const Secret password{arguments[3].AsAString()};
                    return client.connect(url.c_str(), user.c_str(), password.text.c_str());
                });
}

void OpcuaStatic::disconnectB(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B9]", 1, [](OpcuaClient& client, const Arguments&, VeltoList&) {
        return client.disconnect();
    });
}

void OpcuaStatic::getClientStateD(HostBytes* out, const HostBytes* in) {
    localClientFrame(out, in, "[B5]", 1,
                     [](const OpcuaClient& client, const Arguments&, VeltoList& results) -> UACErr {
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
