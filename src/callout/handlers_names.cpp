#include <cstring>

#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "errors/error_names.h"

namespace nimb {

namespace {

void appendName(VeltoList& results, const char* name) {
    results.appendAChars(name, std::strlen(name));
}

/// Four of the five look-ups answer nothing but the name of a number.
void answerName(HostBytes* out, const HostBytes* in, const char* tag, const char* (*nameOf)(long)) {
    callFrame(out, in, tag, 1, [nameOf](const Arguments& arguments, VeltoList& results) -> UACErr {
        appendName(results, nameOf(arguments[0].AsLong()));
        return {};
    });
}

}  // namespace

void OpcuaStatic::getStatusCodeNameB(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B1]", 1, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long long code = arguments[0].AsLongLong();
        appendName(results, OpcuaClient::getStatusCodeName(static_cast<unsigned int>(code)));
        results += code;
        return {};
    });
}

void OpcuaStatic::getClientStateNameB(HostBytes* out, const HostBytes* in) {
    answerName(out, in, "[B2]", OpcuaClient::getClientStateName);
}

void OpcuaStatic::getSecureChannelStateName(HostBytes* out, const HostBytes* in) {
    answerName(out, in, "Unable to recognize secure channel state [B2.1]",
               OpcuaClient::getSecureChannelStateName);
}

void OpcuaStatic::getSessionStateName(HostBytes* out, const HostBytes* in) {
    answerName(out, in, "Unable to recognize session state [B2.2]",
               OpcuaClient::getSessionStateName);
}

void OpcuaStatic::getSimpleErrorCodeNameB(HostBytes* out, const HostBytes* in) {
    answerName(out, in, "[B3]", simpleErrorCodeName);
}

}  // namespace nimb
