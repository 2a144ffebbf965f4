#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>

#include <new>

#include "client/guarded_transport.h"
#include "client/key_check.h"
#include "client/opcua_client.h"
#include "client/secret.h"
#include "client/security_material.h"
#include "client/server_check.h"
#include "errors/log_file.h"
#include "errors/log_sink.h"
#include "host/version.h"

namespace nimb {

namespace {

void setApplicationUri(UA_ClientConfig& config, const std::string& uri) {
    OwnedString copy(UA_String_fromChars(uri.c_str()));
    if (copy->data == nullptr) {
        throw std::bad_alloc();
    }
    UA_String_clear(&config.clientDescription.applicationUri);
    config.clientDescription.applicationUri = copy.release();
}

UA_StatusCode configureEncryption(UA_ClientConfig& config, const SecurityMaterial& material) {
    config.privateKeyPasswordCallback = refusePasswordQuestion;
    const auto trusted = views(material.trustList);
    const auto revoked = views(material.revocationList);
    UA_StatusCode status = UA_ClientConfig_setDefaultEncryption(
        &config, material.certificate.view(), material.privateKey.view(), trusted.data(),
        trusted.size(), revoked.data(), revoked.size());
    if (status == UA_STATUSCODE_GOOD) {
        // Of two empty lists, open62541 from 1.4.13 on makes a check that accepts every server.
        status = UA_CertificateVerification_Trustlist(&config.certificateVerification,
                                                      trusted.data(), trusted.size(), nullptr, 0,
                                                      revoked.data(), revoked.size());
    }
    if (status != UA_STATUSCODE_GOOD) {
        // open62541 1.4 says nothing about a list that it cannot read.
        UAC_WriteLogFile(
            "Encrypted set-up refused: %s (%zu trust list and %zu revocation list files)",
            UA_StatusCode_name(status), trusted.size(), revoked.size());
    }
    return status;
}

}  // namespace

void OpcuaClient::StackClientDeleter::operator()(UA_Client* client) const {
    wipePassword(*UA_Client_getConfig(client));
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
    serverCheck_.reset();
}

/// The logger is in place before the defaults are applied: the event loop, the certificate check
/// and the security policies of open62541 1.4 each keep the pointer they find then. Without a log
/// file the stack is silent, for its default logger prints to the host's standard output.
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

/// Sessions of hosts that ended without a good-bye stay at the server for the time asked for: long
/// enough for hosts that call every few minutes, short enough for servers with few sessions to
/// give. The channel is to end with the session: on one that outlived it, the next request would
/// only be told that the session is gone, while behind a new channel the stack makes a new session
/// first.
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
    UA_ClientConfig* config = UA_Client_getConfig(client_.get());
    const UA_StatusCode status = UA_ClientConfig_setDefault(config);
    if (status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status);
    }
    // While it is not set, open62541 1.4.11 takes an endpoint that claims security with the policy
    // None, and divides by the block size of an encryption that is not there.
    config->securityMode = UA_MESSAGESECURITYMODE_NONE;
    return finishSetup(timeout);
}

UACErr OpcuaClient::setupWithEncryption(int timeout, UA_MessageSecurityMode mode,
                                        const std::string& applicationUri,
                                        const SecurityMaterial& material) {
    if (UACErr error = makeStackClient(); error.isError()) {
        return error;
    }
    if (UACErr error = checkPrivateKey(material.privateKey.view()); error.isError()) {
        return error;
    }
    UA_ClientConfig* config = UA_Client_getConfig(client_.get());
    if (const UA_StatusCode status = configureEncryption(*config, material);
        status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status);
    }
    if (UACErr error = checkOwnCertificate(*config); error.isError()) {
        return error;
    }
    serverCheck_ = std::make_unique<ServerCheck>(client_.get(), material.trustList);
    config->securityMode = mode;
    setApplicationUri(*config, applicationUri);
    return finishSetup(timeout);
}

}  // namespace nimb
