#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <stdexcept>

#include "nimbhost/certificates/private_key.h"

namespace nimb::nimbhost {

namespace {

void require(bool done, const char* what) {
    if (done) return;
    const char* reason = ERR_reason_error_string(ERR_get_error());
    throw std::runtime_error(std::string("cannot make the certificate: ") + what + ": " +
                             (reason == nullptr ? "no reason given" : reason));
}

void addName(X509_NAME* name, const char* field, const std::string& value) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.data());
    require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, bytes,
                                       static_cast<int>(value.size()), -1, 0) == 1,
            field);
}

void addExtension(X509* certificate, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Owned<X509_EXTENSION, X509_EXTENSION_free> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, OBJ_nid2sn(kind));
}

/// The names are added as values, never as configuration text: a comma in a URI is a comma.
void addAlternativeNames(X509* certificate, const CertificateRequest& request) {
    const Owned<GENERAL_NAMES, GENERAL_NAMES_free> names(GENERAL_NAMES_new());
    const auto add = [&names](int kind, const std::string& value) {
        Owned<GENERAL_NAME, GENERAL_NAME_free> name(GENERAL_NAME_new());
        Owned<ASN1_IA5STRING, ASN1_IA5STRING_free> text(ASN1_IA5STRING_new());
        require(names && name && text &&
                    ASN1_STRING_set(text.get(), value.data(), static_cast<int>(value.size())) == 1,
                "subjectAltName");
        GENERAL_NAME_set0_value(name.get(), kind, text.release());
        require(sk_GENERAL_NAME_push(names.get(), name.get()) > 0, "subjectAltName");
        static_cast<void>(name.release());  // the stack of names has it now
    };
    add(GEN_URI, request.applicationUri);
    if (!request.host.empty()) add(GEN_DNS, request.host);
    require(X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, 0) == 1,
            "subjectAltName");
}

void setSerialAndDates(X509* certificate, int days) {
    unsigned char serial[16];
    require(RAND_bytes(serial, sizeof serial) == 1, "random number");
    serial[0] &= 0x7F;  // positive
    const Owned<BIGNUM, BN_free> number(BN_bin2bn(serial, sizeof serial, nullptr));
    require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)),
            "serial number");
    // An hour back: the server's clock may be behind ours.
    constexpr long hour = 3600;
    require(X509_gmtime_adj(X509_getm_notBefore(certificate), -hour) != nullptr &&
                X509_time_adj_ex(X509_getm_notAfter(certificate), days, 0, nullptr) != nullptr,
            "dates");
}

std::string contents(BIO* out) {
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out, &bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

std::string keyText(EVP_PKEY* key) {
    // Secure memory would be wiped by libcrypto itself; a plain one is wiped when it is freed.
    const OwnedBio out(BIO_new(BIO_s_secmem()));
    require(out && PEM_write_bio_PKCS8PrivateKey(out.get(), key, nullptr, nullptr, 0, nullptr,
                                                 nullptr) == 1,
            "private key");
    return contents(out.get());
}

}  // namespace

NewCertificate makeCertificate(const CertificateRequest& request) {
    const OwnedKey key(EVP_RSA_gen(2048));
    const OwnedX509 certificate(X509_new());
    require(key && certificate, "key of 2048 bits");
    require(X509_set_version(certificate.get(), X509_VERSION_3) == 1, "version");
    setSerialAndDates(certificate.get(), request.days);
    X509_NAME* name = X509_get_subject_name(certificate.get());
    addName(name, "CN", request.commonName);
    if (!request.organization.empty()) addName(name, "O", request.organization);
    require(X509_set_issuer_name(certificate.get(), name) == 1 &&
                X509_set_pubkey(certificate.get(), key.get()) == 1,
            "names");
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), NID_key_usage,
                 "critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,"
                 "keyCertSign");
    addExtension(certificate.get(), NID_ext_key_usage, "serverAuth,clientAuth");
    addExtension(certificate.get(), NID_subject_key_identifier, "hash");
    addAlternativeNames(certificate.get(), request);
    require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, "signature");
    return {Certificate::parse([&] {
                const OwnedBio out(BIO_new(BIO_s_mem()));
                require(i2d_X509_bio(out.get(), certificate.get()) == 1, "encoding");
                return contents(out.get());
            }())
                ->der(),
            keyText(key.get())};
}

}  // namespace nimb::nimbhost
