#include "demo_server/certificates.h"

#include <open62541/plugin/create_certificate.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <climits>
#include <ctime>
#include <memory>
#include <stdexcept>

#include "demo_server/stack_values.h"
#include "demo_server/stderr_logger.h"

namespace nimb::plant {

namespace {

using Input = std::unique_ptr<BIO, decltype(&BIO_free_all)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Settings = std::unique_ptr<UA_KeyValueMap, decltype(&UA_KeyValueMap_delete)>;

Input inputOf(const std::string& bytes) {
    const int size = bytes.size() > INT_MAX ? INT_MAX : static_cast<int>(bytes.size());
    return {BIO_new_mem_buf(bytes.data(), size), BIO_free_all};
}

Certificate parseCertificate(const std::string& bytes) {
    X509* found = d2i_X509_bio(inputOf(bytes).get(), nullptr);
    if (found == nullptr) {
        found = PEM_read_bio_X509(inputOf(bytes).get(), nullptr, nullptr, nullptr);
    }
    return {found, X509_free};
}

Key parseKey(const std::string& bytes) {
    // Without it a key with a password would be asked for on the terminal.
    const auto noPassword = [](char*, int, int, void*) { return -1; };
    EVP_PKEY* found = d2i_PrivateKey_bio(inputOf(bytes).get(), nullptr);
    if (found == nullptr) {
        found = PEM_read_bio_PrivateKey(inputOf(bytes).get(), nullptr, noPassword, nullptr);
    }
    return {found, EVP_PKEY_free};
}

Settings certificateSettings() {
    Settings settings(UA_KeyValueMap_new(), UA_KeyValueMap_delete);
    const auto set = [&](std::string_view name, UA_UInt16 value) {
        return UA_KeyValueMap_setScalar(settings.get(), {0, borrowed(name)}, &value,
                                        &UA_TYPES[UA_TYPES_UINT16]);
    };
    if (!settings || set("expires-in-days", 5 * 365) != UA_STATUSCODE_GOOD ||
        set("key-size-bits", 2048) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    return settings;
}

std::string textOf(const UA_ByteString& bytes) {
    return {reinterpret_cast<const char*>(bytes.data), bytes.length};
}

}  // namespace

CertificateAndKey makeCertificate(const std::string& commonName,
                                  const std::string& applicationUri) {
    const std::string name = "CN=" + commonName;
    const std::string uri = "URI:" + applicationUri;
    const std::array subject{borrowed(name)};
    const std::array names{borrowed(uri), borrowed("DNS:localhost"), borrowed("IP:127.0.0.1")};
    Owned<UA_ByteString, UA_TYPES_BYTESTRING> key;
    Owned<UA_ByteString, UA_TYPES_BYTESTRING> certificate;
    const UA_StatusCode status = UA_CreateCertificate(
        silentLogger(), subject.data(), subject.size(), names.data(), names.size(),
        UA_CERTIFICATEFORMAT_DER, certificateSettings().get(), &*key, &*certificate);
    if (status != UA_STATUSCODE_GOOD) {
        throw std::runtime_error(std::string("no certificate can be made: ") +
                                 UA_StatusCode_name(status));
    }
    return {textOf(*certificate), textOf(*key)};
}

bool belongTogether(const std::string& certificate, const std::string& key) {
    const Certificate parsed = parseCertificate(certificate);
    const Key parsedKey = parseKey(key);
    return parsed && parsedKey && X509_check_private_key(parsed.get(), parsedKey.get()) == 1;
}

std::string fingerprint(const std::string& certificate) {
    const Certificate parsed = parseCertificate(certificate);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (!parsed || X509_digest(parsed.get(), EVP_sha256(), digest.data(), &size) != 1) return {};
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        if (i > 0) text += ':';
        text += digits[digest[i] / 16];
        text += digits[digest[i] % 16];
    }
    return text;
}

std::string subjectOf(const std::string& certificate) {
    const Certificate parsed = parseCertificate(certificate);
    const Input output(BIO_new(BIO_s_mem()), BIO_free_all);
    if (!parsed || !output) return {};
    X509_NAME_print_ex(output.get(), X509_get_subject_name(parsed.get()), 0, XN_FLAG_ONELINE);
    char* text = nullptr;
    const long size = BIO_get_mem_data(output.get(), &text);
    return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

std::string lastDayOf(const std::string& certificate) {
    const Certificate parsed = parseCertificate(certificate);
    std::tm end{};
    if (!parsed || ASN1_TIME_to_tm(X509_get0_notAfter(parsed.get()), &end) != 1) return {};
    std::array<char, 16> day{};
    const std::size_t size = std::strftime(day.data(), day.size(), "%Y-%m-%d", &end);
    return {day.data(), size};
}

}  // namespace nimb::plant
