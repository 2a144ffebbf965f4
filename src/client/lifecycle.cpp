#include <open62541/client_config_default.h>

#include <new>

#include "client/guarded_transport.h"
#include "client/opcua_client.h"
#include "client/security_material.h"
#include "errors/log_file.h"
#include "errors/log_sink.h"
#include "host/version.h"

namespace nimb {

namespace {

UA_StatusCode refuseKey() {
    UAC_WriteLogFile(
        "The private key is encrypted or unreadable; keys with a password are refused");
    return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
}

// For an encrypted or unreadable key the stack would ask on standard input and wait: the library
// never reads the streams of its host.
UA_StatusCode refusePasswordQuestion(UA_ClientConfig* /*config*/, UA_ByteString* /*password*/) {
    return refuseKey();
}

// PEM, or DER as RSA keys begin. open62541 1.4.11 refuses other bytes too, but loses its copy of
// them. An empty key it reports by itself.
bool beginsLikeKey(const UA_ByteString& key) {
    return key.length == 0 || key.data[0] == '-' ||
           (key.length > 1 && key.data[0] == 0x30 && key.data[1] == 0x82);
}

}  // namespace

void OpcuaClient::StackClientDeleter::operator()(UA_Client* client) const {
    UA_Client_delete(client);
}

OpcuaClient::OpcuaClient() {
    UAC_WriteLogFile("Creating OpcuaClient");
    UAC_WriteLogFile("NimbOPCUA %d.%d.%d (%d) %s", UAC_version_major, UAC_version_minor,
                     UAC_version_revision, UAC_version_build, UAC_version_text);
}

OpcuaClient::~OpcuaClient() { static_cast<void>(clear()); }

UACErr OpcuaClient::clear() {
    bulkReads_.clear();
    discardStackClient();
    return {};
}

void OpcuaClient::discardStackClient() {
    if (client_ != nullptr) {
        // The stack reports the subscriptions as deleted from within; they are still there.
        closeSession();
    }
    discardSubscriptions();
    client_.reset();
}

// The logger is in place before the defaults are applied: the event loop, the certificate check
// and the security policies of open62541 1.4 each keep the pointer they find then. Without a log
// file the stack is silent, for its default logger prints to the host's standard output.
UACErr OpcuaClient::makeStackClient() {
    discardStackClient();
    UA_ClientConfig config{};
    config.logging = UAC_log_filename == nullptr ? &UAC_UA_Log_silent : &UAC_UA_Log_toFile;
    client_.reset(UA_Client_newWithConfig(&config));
    if (client_ == nullptr) {
        throw std::bad_alloc();
    }
    return {};
}

// Sessions of hosts that ended without a good-bye stay at the server for the time asked for: long
// enough for hosts that call every few minutes, short enough for servers with few sessions to give.
// The channel is to end with the session: on one that outlived it, the next request would only be
// told that the session is gone, while behind a new channel the stack makes a new session first.
UACErr OpcuaClient::finishSetup(int timeout) {
    constexpr UA_UInt32 sessionTimeout = 5 * 60 * 1000;  // milliseconds
    UA_ClientConfig* config = UA_Client_getConfig(client_.get());
    config->timeout = static_cast<UA_UInt32>(timeout);
    config->requestedSessionTimeout = sessionTimeout;
    config->secureChannelLifeTime = sessionTimeout;
    watchSubscriptions(config);
    const UA_StatusCode status = GuardedTransport::install(*config);
    return status == UA_STATUSCODE_GOOD ? UACErr() : UACErr::opcua(status);
}

UACErr OpcuaClient::setup(int timeout) {
    if (UACErr error = makeStackClient(); error.isError()) {
        return error;
    }
    const UA_StatusCode status = UA_ClientConfig_setDefault(UA_Client_getConfig(client_.get()));
    if (status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status);
    }
    return finishSetup(timeout);
}

UACErr OpcuaClient::setupWithEncryption(int timeout, UA_MessageSecurityMode mode,
                                        const std::string& applicationUri,
                                        const SecurityMaterial& material) {
    if (UACErr error = makeStackClient(); error.isError()) {
        return error;
    }
    if (!beginsLikeKey(material.privateKey.view())) {
        return UACErr::opcua(refuseKey());
    }
    UA_ClientConfig* config = UA_Client_getConfig(client_.get());
    config->privateKeyPasswordCallback = refusePasswordQuestion;
    const auto trusted = views(material.trustList);
    const auto revoked = views(material.revocationList);
    const UA_StatusCode status = UA_ClientConfig_setDefaultEncryption(
        config, material.certificate.view(), material.privateKey.view(), trusted.data(),
        trusted.size(), revoked.data(), revoked.size());
    if (status != UA_STATUSCODE_GOOD) {
        // open62541 1.4 says nothing about a list that it cannot read.
        UAC_WriteLogFile(
            "Encrypted set-up refused: %s (%zu trust list and %zu revocation list files)",
            UA_StatusCode_name(status), trusted.size(), revoked.size());
        return UACErr::opcua(status);
    }
    config->securityMode = mode;
    UA_String_clear(&config->clientDescription.applicationUri);
    config->clientDescription.applicationUri = UA_String_fromChars(applicationUri.c_str());
    return finishSetup(timeout);
}

}  // namespace nimb
