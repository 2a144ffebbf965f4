#include "demo_server/server_config.h"

#include <open62541/plugin/accesscontrol_default.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/server_config_default.h>

#include <stdexcept>
#include <string>

#include "demo_server/stack_values.h"
#include "demo_server/stderr_logger.h"

namespace nimb::plant {

namespace {

void require(UA_StatusCode status, const char* step) {
    if (status == UA_STATUSCODE_GOOD) return;
    throw std::runtime_error(std::string(step) + ": " + UA_StatusCode_name(status));
}

UA_String copied(std::string_view text) {
    UA_String copy;
    const UA_String source = borrowed(text);
    require(UA_String_copy(&source, &copy), "copy of a text");
    return copy;
}

/// Clears an unfinished configuration when a step throws.
class ConfigGuard {
  public:
    UA_ServerConfig config{};
    ConfigGuard() = default;
    ConfigGuard(const ConfigGuard&) = delete;
    ConfigGuard& operator=(const ConfigGuard&) = delete;
    ~ConfigGuard() { UA_ServerConfig_clean(&config); }
    UA_ServerConfig release() noexcept { return std::exchange(config, {}); }
};

void setAddress(UA_ServerConfig& config, const PlantOptions& options) {
    UA_Array_delete(config.serverUrls, config.serverUrlsSize, &UA_TYPES[UA_TYPES_STRING]);
    config.serverUrlsSize = 0;
    config.serverUrls = static_cast<UA_String*>(UA_Array_new(1, &UA_TYPES[UA_TYPES_STRING]));
    if (config.serverUrls == nullptr) throw std::bad_alloc();
    config.serverUrlsSize = 1;
    config.serverUrls[0] = copied("opc.tcp://127.0.0.1:" + std::to_string(options.port));
    // A server must come back on its port while connections to the old one linger in TIME_WAIT.
    // The stack's flag also lets two servers share a port; the system never picks a shared one.
    config.tcpReuseAddr = true;
    UA_String_clear(&config.applicationDescription.applicationUri);
    config.applicationDescription.applicationUri = copied(options.applicationUri);
}

void setLimits(UA_ServerConfig& config, const PlantOptions& options) {
    // The stack's own bounds (100 and 50 ms) are too slow to test fast changes with.
    config.publishingIntervalLimits.min = 5;
    config.samplingIntervalLimits.min = 5;
    config.queueSizeLimits.max = 100000;
    if (options.channelLifetime.count() > 0) {
        config.maxSecurityTokenLifetime = static_cast<UA_UInt32>(options.channelLifetime.count());
    }
    if (options.sessionTimeout.count() > 0) {
        config.maxSessionTimeout = static_cast<double>(options.sessionTimeout.count());
    }
}

std::vector<UA_ByteString> borrowedAll(const std::vector<std::string>& items) {
    std::vector<UA_ByteString> all;
    all.reserve(items.size());
    for (const std::string& item : items) all.push_back(borrowed(item));
    return all;
}

void trustOnly(UA_CertificateVerification& verification, const Encryption& encryption) {
    const auto trusted = borrowedAll(encryption.trusted);
    const auto issuers = borrowedAll(encryption.issuers);
    const auto revoked = borrowedAll(encryption.revoked);
    const UA_Logger* logger = verification.logging;
    if (verification.clear != nullptr) verification.clear(&verification);
    require(UA_CertificateVerification_Trustlist(&verification, trusted.data(), trusted.size(),
                                                 issuers.data(), issuers.size(), revoked.data(),
                                                 revoked.size()),
            "trust list");
    verification.logging = logger;
}

void askInstead(UA_CertificateVerification& verification,
                const UA_CertificateVerification& clients) noexcept {
    if (verification.clear != nullptr) verification.clear(&verification);
    verification = clients;
}

void setEncryption(UA_ServerConfig& config, const Encryption& encryption) {
    // The stack's default would ask for a password on standard input.
    config.privateKeyPasswordCallback = [](UA_ServerConfig*, UA_ByteString*) -> UA_StatusCode {
        return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
    };
    if (encryption.clients != nullptr) {
        askInstead(config.secureChannelPKI, *encryption.clients);
        askInstead(config.sessionPKI, *encryption.clients);
    } else if (!encryption.trusted.empty()) {
        trustOnly(config.secureChannelPKI, encryption);
        trustOnly(config.sessionPKI, encryption);
    }
    const UA_ByteString certificate = borrowed(encryption.certificate);
    const UA_ByteString key = borrowed(encryption.privateKey);
    require(UA_ServerConfig_addSecurityPolicyNone(&config, &certificate), "policy None");
    require(UA_ServerConfig_addSecurityPolicyBasic256Sha256(&config, &certificate, &key),
            "policy Basic256Sha256");
    require(UA_ServerConfig_addSecurityPolicyAes128Sha256RsaOaep(&config, &certificate, &key),
            "policy Aes128Sha256RsaOaep");
    require(UA_ServerConfig_addSecurityPolicyAes256Sha256RsaPss(&config, &certificate, &key),
            "policy Aes256Sha256RsaPss");
}

void setAccess(UA_ServerConfig& config, const PlantOptions& options) {
    config.allowNonePolicyPassword = options.allowClearPasswords;
    std::vector<UA_UsernamePasswordLogin> logins;
    logins.reserve(options.logins.size());
    for (const Login& login : options.logins) {
        logins.push_back({borrowed(login.user), borrowed(login.password)});
    }
    require(UA_AccessControl_default(&config, options.allowAnonymous, nullptr, logins.size(),
                                     logins.data()),
            "access control");
}

}  // namespace

UA_ServerConfig makeServerConfig(const PlantOptions& options) {
    ConfigGuard guard;
    UA_ServerConfig& config = guard.config;
    config.logging = options.verbose ? stderrLogger() : silentLogger();
    require(UA_ServerConfig_setBasics_withPort(&config, options.port), "basic configuration");
    setAddress(config, options);
    setLimits(config, options);
    const Encryption* encryption = options.encryption.get();
    if (encryption != nullptr) {
        setEncryption(config, *encryption);
    } else {
        require(UA_ServerConfig_addSecurityPolicyNone(&config, nullptr), "policy None");
    }
    setAccess(config, options);
    if (encryption != nullptr && !encryption->offerUnencrypted) {
        config.securityPolicyNoneDiscoveryOnly = true;
        require(UA_ServerConfig_addAllSecureEndpoints(&config), "endpoints");
    } else {
        require(UA_ServerConfig_addAllEndpoints(&config), "endpoints");
    }
    return guard.release();
}

}  // namespace nimb::plant
