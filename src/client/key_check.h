#pragma once

#include <open62541/client.h>

#include "errors/uac_err.h"

namespace nimb {

/// Refuses a private key that the stack must not get: one it would ask a password for on standard
/// input, and one of another kind than RSA, on which open62541 1.4.11 crashes in the connect. An
/// empty key passes: the stack reports it.
/// @return kind 4, BadSecurityChecksFailed
[[nodiscard]] UACErr checkPrivateKey(const UA_ByteString& key);

/// Refuses a certificate of ours whose key is not RSA. One that is none the stack reports.
/// @param config  set up for encryption
[[nodiscard]] UACErr checkOwnCertificate(const UA_ClientConfig& config);

/// For an encrypted or unreadable key the stack would ask on standard input and wait: the library
/// never reads the streams of its host. To be the configuration's password callback.
UA_StatusCode refusePasswordQuestion(UA_ClientConfig* config, UA_ByteString* password);

}  // namespace nimb
