#include <algorithm>
#include <limits>
#include <string>

#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "client/security_material.h"
#include "convert/string_mode.h"

namespace nimb {

namespace {

constexpr long kDefaultTimeout = 3000;  // milliseconds
constexpr long kMaxTimeout = std::numeric_limits<int>::max();
constexpr long kForcedEnumeration = 0x7FFFFFFF;

struct SetupArguments {
    explicit SetupArguments(const Arguments& arguments)
        : handle(arguments.handle()),
          timeout(arguments[1].AsLong()),
          securityMode(arguments[2].AsLong()) {
        paths.certificate = arguments[3].AsAString();
        paths.privateKey = arguments[4].AsAString();
        paths.trustDirectory = arguments[5].AsAString();
        paths.revocationDirectory = arguments[6].AsAString();
        applicationUri = arguments[7].AsAString();
        stringMode = arguments[8].AsLong();
    }

    long handle;
    long timeout;  // milliseconds
    long securityMode;
    SecurityPaths paths;
    std::string applicationUri;
    long stringMode = 0;
};

UACErr refusedMode(const char* mode, long number) {
    return {UACERR_APPLICATION,
            APPERR_OTHER,
            "%s message security mode%s (msm = %d)",
            mode,
            number == UA_MESSAGESECURITYMODE_SIGN ? " currently unsupported" : "",
            static_cast<int>(number)};
}

UACErr setUpEncrypted(OpcuaClient& client, int timeout, const SetupArguments& arguments) {
    SecurityMaterial material;
    if (UACErr error = readSecurityMaterial(arguments.paths, material); error.isError()) {
        return error;
    }
    return client.setupWithEncryption(timeout, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT,
                                      arguments.applicationUri, material);
}

UACErr setUp(OpcuaClient& client, const SetupArguments& arguments) {
    const auto timeout = static_cast<int>(
        arguments.timeout > 0 ? std::min(arguments.timeout, kMaxTimeout) : kDefaultTimeout);
    switch (arguments.securityMode) {
        case UA_MESSAGESECURITYMODE_NONE:
            return client.setup(timeout);
        case UA_MESSAGESECURITYMODE_SIGNANDENCRYPT:
            return setUpEncrypted(client, timeout, arguments);
        case UA_MESSAGESECURITYMODE_INVALID:
            return refusedMode("'Invalid'", arguments.securityMode);
        case UA_MESSAGESECURITYMODE_SIGN:
            return refusedMode("'Sign'", arguments.securityMode);
        case kForcedEnumeration:
            return refusedMode("Unsupported", arguments.securityMode);
        default:
            return refusedMode("Unknown", arguments.securityMode);
    }
}

}  // namespace

void OpcuaStatic::setupC(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B6.1]", 9, [](const Arguments& input, VeltoList&) -> UACErr {
        const SetupArguments arguments(input);
        // For the whole process, so it takes effect whatever becomes of this client.
        UAC_unicode_usage = static_cast<int>(arguments.stringMode);
        OpcuaClient* client = clientOf(arguments.handle);
        if (client == nullptr) {
            return badHandle();
        }
        if (client->resetRequired()) {
            static_cast<void>(client->clear());
        }
        client->setResetRequired(true);  // stays so if anything is raised
        UACErr error = setUp(*client, arguments);
        client->setResetRequired(error.isError());
        return error;
    });
}

}  // namespace nimb
