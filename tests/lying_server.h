#pragma once

#include <open62541/server.h>

#include <algorithm>
#include <string>

namespace nimb::test {

// What a server tells that lies; done to its configuration while it runs.

/// Of its first endpoint.
inline void claim(UA_ServerConfig& config, UA_MessageSecurityMode mode, const char* policy) {
    UA_EndpointDescription& endpoint = config.endpoints[0];
    endpoint.securityMode = mode;
    UA_String_clear(&endpoint.securityPolicyUri);
    endpoint.securityPolicyUri = UA_String_fromChars(policy);
}

/// As its certificate, in the endpoints of all policies.
inline void show(UA_ServerConfig& config, const std::string& certificate) {
    for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
        UA_ByteString& own = config.securityPolicies[i].localCertificate;
        UA_ByteString_clear(&own);
        UA_ByteString_allocBuffer(&own, certificate.size());
        std::copy(certificate.begin(), certificate.end(), own.data);
    }
}

}  // namespace nimb::test
