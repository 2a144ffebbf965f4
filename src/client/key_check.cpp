#include "client/key_check.h"

#include <open62541/plugin/pki.h>

#include "client/certificate.h"
#include "client/secret.h"
#include "errors/log_file.h"

namespace nimb {

namespace {

constexpr unsigned char kDerSequence = der_tag::kSequence;
constexpr unsigned char kPemBegin = '-';

UA_StatusCode logUnreadable() {
    UAC_WriteLogFile(
        "The private key is encrypted or unreadable; keys with a password are refused");
    return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
}

UACErr refuseKind(const char* what) {
    constexpr const char* text =
        "The %s is not RSA; make the client's key and certificate with RSA";
    UAC_WriteLogFile(text, what);
    return UACErr::opcua(UA_STATUSCODE_BADSECURITYCHECKSFAILED, text, what);
}

bool isForeignPem(const UA_ByteString& key) {
    OwnedSecretBytes der;
    return UA_PKI_decryptPrivateKey(key, UA_BYTESTRING_NULL, der.get()) == UA_STATUSCODE_GOOD &&
           isForeignPrivateKey(derOf(*der));
}

}  // namespace

UACErr checkPrivateKey(const UA_ByteString& key) {
    if (key.length == 0) {
        return {};
    }
    const bool der = key.data[0] == kDerSequence;
    const bool pem = key.data[0] == kPemBegin;
    if (der ? isForeignPrivateKey(derOf(key)) : pem && isForeignPem(key)) {
        return refuseKind("private key");
    }
    // DER as RSA keys begin. open62541 1.4.11 refuses other bytes too, but loses its copy of them.
    if (pem || (der && key.length > 1 && key.data[1] == 0x82)) {
        return {};
    }
    return UACErr::opcua(logUnreadable());
}

UACErr checkOwnCertificate(const UA_ClientConfig& config) {
    for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
        const auto own = CertificateView::read(derOf(config.securityPolicies[i].localCertificate));
        if (own && !own->hasRsaKey()) {
            return refuseKind("client certificate's key");
        }
    }
    return {};
}

UA_StatusCode refusePasswordQuestion(UA_ClientConfig* /*config*/, UA_ByteString* /*password*/) {
    return logUnreadable();
}

}  // namespace nimb
