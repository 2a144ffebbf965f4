#include "client/server_check.h"

#include <open62541/plugin/log.h>
#include <open62541/plugin/securitypolicy.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <string_view>

#include "client/guarded_transport.h"
#include "convert/owned.h"
#include "convert/string_convert.h"

namespace nimb {

namespace {

constexpr std::string_view kPemMark = "-----BEGIN";

/// One of the stack's connection attributes, borrowed from the client.
template <typename T>
T attribute(UA_Client* client, const char* name, std::size_t type) {
    T value{};
    UA_Client_getConnectionAttribute_scalar(client, {0, UA_STRING(const_cast<char*>(name))},
                                            &UA_TYPES[type], &value);
    return value;
}

}  // namespace

TrustedFiles::TrustedFiles(const std::vector<FileBytes>& files) {
    for (const FileBytes& file : files) {
        std::string text(bytesOf(file.view()));
        if (text.find(kPemMark) != std::string::npos) {
            std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
        }
        files_.push_back(std::move(text));
    }
}

bool TrustedFiles::hold(Bytes certificate) const {
    const UA_ByteString der = {certificate.size(), const_cast<UA_Byte*>(certificate.data())};
    OwnedString base64;
    if (UA_ByteString_toBase64(&der, base64.get()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    const std::string_view binary = bytesOf(der);
    const std::string pem =
        "-----BEGINCERTIFICATE-----" + std::string(bytesOf(*base64)) + "-----END";
    return std::ranges::any_of(files_, [&](const std::string& file) {
        return file.starts_with(binary) || file.find(pem) != std::string::npos;
    });
}

ServerCheck::ServerCheck(UA_Client* client, const std::vector<FileBytes>& trustList)
    : client_(client), trusted_(trustList) {
    UA_ClientConfig* config = UA_Client_getConfig(client);
    guards_.reserve(config->securityPoliciesSize);
    for (std::size_t i = 0; i < config->securityPoliciesSize; ++i) {
        UA_SecurityPolicy& policy = config->securityPolicies[i];
        Guard& guard = guards_.emplace_back(Guard{this, policy.channelModule.newContext, {}});
        guard.logger = {forwardLog, &guard, nullptr};
        policy.logger = &guard.logger;
        policy.channelModule.newContext = newContext;
    }
}

void ServerCheck::expect(const char* url) {
    const UA_String text = UA_STRING(const_cast<char*>(url));
    UA_String host{};
    UA_String path{};
    UA_UInt16 port = 0;
    // A URL that the stack cannot read opens no connection either.
    static_cast<void>(UA_parseEndpointUrl(&text, &host, &port, &path));
    host_ = bytesOf(host);
}

const UA_Logger* ServerCheck::logger() const { return UA_Client_getConfig(client_)->logging; }

void ServerCheck::forwardLog(void* guard, UA_LogLevel level, UA_LogCategory category,
                             const char* message, va_list arguments) {
    const UA_Logger* logger = static_cast<Guard*>(guard)->check->logger();
    if (logger != nullptr && logger->log != nullptr) {
        logger->log(logger->context, level, category, message, arguments);
    }
}

UA_StatusCode ServerCheck::newContext(const UA_SecurityPolicy* policy,
                                      const UA_ByteString* certificate, void** context) noexcept {
    try {
        const Guard& guard = *static_cast<const Guard*>(policy->logger->context);
        const UA_StatusCode verdict = guard.check->examine(*policy, *certificate);
        return verdict == UA_STATUSCODE_GOOD ? guard.original(policy, certificate, context)
                                             : verdict;
    } catch (const std::exception&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

/// The connection is closed already, so that nothing more happens on it: the loop of open62541
/// 1.4.11 would sleep to its next timer, up to a second.
UA_StatusCode ServerCheck::refuse(UA_StatusCode status, const std::string& reason) {
    UA_LOG_ERROR(logger(), UA_LOGCATEGORY_CLIENT, "Server refused with %s: %s",
                 UA_StatusCode_name(status), reason.c_str());
    GuardedTransport::of(client_)->endRound();
    return status;
}

UA_StatusCode ServerCheck::examine(const UA_SecurityPolicy& policy,
                                   const UA_ByteString& certificate) {
    if (UA_String_equal(&policy.policyUri, &UA_SECURITY_POLICY_NONE_URI)) {
        return examineUnsecured();
    }
    const auto view = CertificateView::read(derOf(certificate));
    if (!view) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEINVALID,
                      "its endpoint has no certificate in DER form");
    }
    if (!view->hasRsaKey()) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEUSENOTALLOWED,
                      "the key of its certificate is no RSA key");
    }
    const UA_CertificateVerification& trust = UA_Client_getConfig(client_)->certificateVerification;
    const UA_StatusCode status = trust.verifyCertificate(&trust, &certificate);
    if (status != UA_STATUSCODE_GOOD) {
        return refuse(status, "its certificate is for " + view->names().text());
    }
    return examineNames(*view);
}

/// Discovery needs the policy None, and the stack looks it up for an endpoint without a policy.
UA_StatusCode ServerCheck::examineUnsecured() {
    const auto mode =
        attribute<UA_MessageSecurityMode>(client_, "securityMode", UA_TYPES_MESSAGESECURITYMODE);
    return mode == UA_MESSAGESECURITYMODE_NONE
               ? UA_STATUSCODE_GOOD
               : refuse(UA_STATUSCODE_BADSECURITYPOLICYREJECTED,
                        "its endpoint claims security with the policy None");
}

UA_StatusCode ServerCheck::examineNames(const CertificateView& certificate) {
    const auto server = attribute<UA_ApplicationDescription>(client_, "serverDescription",
                                                             UA_TYPES_APPLICATIONDESCRIPTION);
    const std::string application(bytesOf(server.applicationUri));
    const std::string issuedTo = "its certificate is for " + certificate.names().text() + ", not ";
    struct Demand {
        bool met;
        UA_StatusCode status;
        std::string reason;
    };
    const Demand demands[] = {
        {certificate.signedWithSha2(), UA_STATUSCODE_BADCERTIFICATEPOLICYCHECKFAILED,
         "its certificate is not signed with SHA-2"},
        {certificate.names().host(host_), UA_STATUSCODE_BADCERTIFICATEHOSTNAMEINVALID,
         issuedTo + "for the URL's host " + host_},
        {certificate.names().application(application), UA_STATUSCODE_BADCERTIFICATEURIINVALID,
         issuedTo + "for its endpoint's application " + application},
        {certificate.allowsServer(), UA_STATUSCODE_BADCERTIFICATEUSENOTALLOWED,
         "the key usage of its certificate does not allow a server"},
    };
    const bool trustedByItself = trusted_.hold(certificate.bytes());
    for (const Demand& demand : demands) {
        if (demand.met) {
            continue;
        }
        if (!trustedByItself) {
            return refuse(demand.status, demand.reason);
        }
        UA_LOG_WARNING(logger(), UA_LOGCATEGORY_CLIENT,
                       "Server accepted, its own certificate is trusted, but %s (%s)",
                       demand.reason.c_str(), UA_StatusCode_name(demand.status));
    }
    return UA_STATUSCODE_GOOD;
}

}  // namespace nimb
