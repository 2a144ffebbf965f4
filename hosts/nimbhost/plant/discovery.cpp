#include "nimbhost/plant/discovery.h"

#include <open62541/client.h>
#include <open62541/client_config_default.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace nimb::nimbhost {

namespace {

struct ClientDeleter {
    void operator()(UA_Client* client) const noexcept { UA_Client_delete(client); }
};
using OwnedClient = std::unique_ptr<UA_Client, ClientDeleter>;

/// The answer's array, released with this object.
struct Descriptions {
    std::size_t count = 0;
    UA_EndpointDescription* all = nullptr;

    Descriptions() = default;
    Descriptions(const Descriptions&) = delete;
    Descriptions& operator=(const Descriptions&) = delete;
    ~Descriptions() { UA_Array_delete(all, count, &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]); }
};

std::string textOf(const UA_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

std::string policyName(const UA_String& uri) {
    const std::string text = textOf(uri);
    return text.substr(text.find('#') + 1);  // all of it without a '#'
}

const char* tokenName(UA_UserTokenType type) noexcept {
    switch (type) {
        case UA_USERTOKENTYPE_ANONYMOUS:
            return "anonymous";
        case UA_USERTOKENTYPE_USERNAME:
            return "user name";
        case UA_USERTOKENTYPE_CERTIFICATE:
            return "certificate";
        case UA_USERTOKENTYPE_ISSUEDTOKEN:
            return "issued token";
        default:
            return "unknown token";
    }
}

Endpoint endpointOf(const UA_EndpointDescription& description) {
    Endpoint out;
    out.url = textOf(description.endpointUrl);
    out.policy = policyName(description.securityPolicyUri);
    out.mode = static_cast<int>(description.securityMode);
    for (std::size_t i = 0; i < description.userIdentityTokensSize; ++i) {
        // Servers name a kind once for each policy that protects it.
        const char* name = tokenName(description.userIdentityTokens[i].tokenType);
        if (std::ranges::find(out.tokens, name) == out.tokens.end()) out.tokens.emplace_back(name);
    }
    out.certificateBytes = textOf(description.serverCertificate);
    out.certificate = Certificate::parse(out.certificateBytes);
    out.applicationUri = textOf(description.server.applicationUri);
    out.serverName = textOf(description.server.applicationName.text);
    return out;
}

/// A client that logs nothing. The logger stands in the configuration before the defaults are
/// applied, because they copy its address into every part.
OwnedClient silentClient(std::chrono::milliseconds timeout) {
    static UA_Logger silent{};  // no function: nothing is logged
    UA_ClientConfig config{};
    config.logging = &silent;
    OwnedClient client(UA_Client_newWithConfig(&config));
    if (!client) throw std::bad_alloc();
    UA_ClientConfig* own = UA_Client_getConfig(client.get());
    const UA_StatusCode status = UA_ClientConfig_setDefault(own);
    if (status != UA_STATUSCODE_GOOD) throw DiscoveryError(status, UA_StatusCode_name(status));
    own->timeout = static_cast<UA_UInt32>(timeout.count());
    // Asked for by name: looking for an endpoint by itself, the stack refuses a server that takes
    // no log-in in clear, though discovery needs none.
    own->endpoint.securityMode = UA_MESSAGESECURITYMODE_NONE;
    if (UA_String_copy(&UA_SECURITY_POLICY_NONE_URI, &own->endpoint.securityPolicyUri) !=
        UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    return client;
}

}  // namespace

std::vector<Endpoint> endpointsOf(const std::string& url, std::chrono::milliseconds timeout) {
    const OwnedClient client = silentClient(timeout);
    Descriptions found;
    errno = 0;  // the stack takes an old one for the reason of its next failure
    const UA_StatusCode status =
        UA_Client_getEndpoints(client.get(), url.c_str(), &found.count, &found.all);
    if (status != UA_STATUSCODE_GOOD) throw DiscoveryError(status, UA_StatusCode_name(status));
    std::vector<Endpoint> out;
    for (std::size_t i = 0; i < found.count; ++i) out.push_back(endpointOf(found.all[i]));
    return out;
}

const char* modeName(int mode) noexcept {
    switch (mode) {
        case 1:
            return "none";
        case 2:
            return "sign";
        case 3:
            return "encrypt";
        default:
            return "invalid";
    }
}

const Endpoint* encryptedEndpoint(const std::vector<Endpoint>& endpoints) {
    const Endpoint* found = nullptr;
    for (const Endpoint& endpoint : endpoints) {
        if (endpoint.mode == 3) return &endpoint;
        if (found == nullptr && !endpoint.certificateBytes.empty()) found = &endpoint;
    }
    return found;
}

}  // namespace nimb::nimbhost
