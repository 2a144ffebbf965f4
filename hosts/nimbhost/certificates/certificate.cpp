#include "nimbhost/certificates/certificate.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <array>
#include <ctime>

namespace nimb::nimbhost {

namespace {

Instant instantOf(const ASN1_TIME* time) {
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) return {};
    return Instant(std::chrono::seconds(timegm(&parts)));
}

std::string nameText(const X509_NAME* name) {
    const OwnedBio out(BIO_new(BIO_s_mem()));
    // UTF-8 as it is, so that names beyond ASCII stay readable; control characters are escaped.
    X509_NAME_print_ex(out.get(), name, 0,
                       XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

std::string textOf(const ASN1_STRING* text) {
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
            static_cast<std::size_t>(ASN1_STRING_length(text))};
}

std::string addressText(const ASN1_OCTET_STRING* address) {
    const std::string bytes = textOf(address);
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = bytes.size() == 4 ? AF_INET : AF_INET6;
    if (bytes.size() != 4 && bytes.size() != 16) return {};
    inet_ntop(family, bytes.data(), text.data(), text.size());
    return text.data();
}

}  // namespace

Instant instantNow() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

std::string dayText(Instant instant) {
    const std::time_t time = instant.time_since_epoch().count();
    std::tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts)};
}

std::optional<Certificate> Certificate::parse(std::string_view bytes) {
    const auto* der = reinterpret_cast<const unsigned char*>(bytes.data());
    OwnedX509 x509(d2i_X509(nullptr, &der, static_cast<long>(bytes.size())));
    if (!x509) x509.reset(PEM_read_bio_X509(reader(bytes).get(), nullptr, nullptr, nullptr));
    if (!x509) return std::nullopt;
    return Certificate(std::move(x509));
}

std::string Certificate::subject() const { return nameText(X509_get_subject_name(get())); }
std::string Certificate::issuer() const { return nameText(X509_get_issuer_name(get())); }
Instant Certificate::notBefore() const { return instantOf(X509_get0_notBefore(get())); }
Instant Certificate::notAfter() const { return instantOf(X509_get0_notAfter(get())); }
bool Certificate::isAuthority() const { return X509_check_ca(get()) > 0; }

bool Certificate::isSelfSigned() const {
    return X509_check_issued(get(), get()) == X509_V_OK ||
           X509_NAME_cmp(X509_get_subject_name(get()), X509_get_issuer_name(get())) == 0;
}

bool Certificate::hasRsaKey() const {
    const EVP_PKEY* key = X509_get0_pubkey(get());
    return key != nullptr && EVP_PKEY_get_base_id(key) == EVP_PKEY_RSA;
}

std::vector<std::string> Certificate::names(int kind) const {
    const Owned<GENERAL_NAMES, GENERAL_NAMES_free> all(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(get(), NID_subject_alt_name, nullptr, nullptr)));
    std::vector<std::string> out;
    for (int i = 0; all && i < sk_GENERAL_NAME_num(all.get()); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(all.get(), i);
        if (name->type != kind) continue;
        out.push_back(kind == GEN_IPADD ? addressText(name->d.iPAddress) : textOf(name->d.ia5));
    }
    return out;
}

std::string Certificate::applicationUri() const {
    const std::vector<std::string> uris = names(GEN_URI);
    return uris.empty() ? "" : uris.front();
}

bool Certificate::isFor(const std::string& host) const {
    constexpr unsigned flags =
        X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;
    const bool found = X509_check_ip_asc(get(), host.c_str(), 0) == 1 ||
                       X509_check_host(get(), host.data(), host.size(), flags, nullptr) == 1;
    ERR_clear_error();
    return found;
}

std::vector<std::string> Certificate::hosts() const {
    std::vector<std::string> out = names(GEN_DNS);
    const std::vector<std::string> addresses = names(GEN_IPADD);
    out.insert(out.end(), addresses.begin(), addresses.end());
    return out;
}

std::string Certificate::sha256() const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (X509_digest(get(), EVP_sha256(), digest.data(), &length) != 1) return {};
    std::string out;
    for (unsigned i = 0; i < length; ++i) {
        out += i == 0 ? "" : ":";
        out += "0123456789ABCDEF"[digest[i] >> 4];
        out += "0123456789ABCDEF"[digest[i] & 0xF];
    }
    return out;
}

std::string Certificate::der() const {
    unsigned char* bytes = nullptr;
    const int length = i2d_X509(get(), &bytes);
    if (length <= 0) return {};
    std::string out(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    OPENSSL_free(bytes);
    return out;
}

std::optional<RevocationList> RevocationList::parse(std::string_view bytes) {
    const auto* der = reinterpret_cast<const unsigned char*>(bytes.data());
    OwnedCrl crl(d2i_X509_CRL(nullptr, &der, static_cast<long>(bytes.size())));
    if (!crl) crl.reset(PEM_read_bio_X509_CRL(reader(bytes).get(), nullptr, nullptr, nullptr));
    if (!crl) return std::nullopt;
    return RevocationList(std::move(crl));
}

std::string RevocationList::issuer() const { return nameText(X509_CRL_get_issuer(crl_.get())); }

std::optional<Instant> RevocationList::nextUpdate() const {
    const ASN1_TIME* due = X509_CRL_get0_nextUpdate(crl_.get());
    return due == nullptr ? std::nullopt : std::optional(instantOf(due));
}

std::string fingerprintDigits(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c == ':' || c == ' ' || c == '-') continue;
        const char capital = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
        const bool hex = (capital >= '0' && capital <= '9') || (capital >= 'A' && capital <= 'F');
        if (!hex) return {};
        digits += capital;
    }
    return digits;
}

}  // namespace nimb::nimbhost
