#include "client/certificate.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace nimb {

namespace {

/// Contents of object identifiers.
constexpr std::array<unsigned char, 9> kRsaEncryption = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                                         0x0D, 0x01, 0x01, 0x01};
constexpr std::array<unsigned char, 8> kPkcs1 = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01};
constexpr unsigned char kSha256WithRsa = 11;  // in kPkcs1, as are SHA-384, SHA-512 and SHA-224
constexpr unsigned char kSha224WithRsa = 14;
constexpr std::array<unsigned char, 7> kEcdsaWithSha2 = {0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x04, 0x03};
constexpr std::array<unsigned char, 3> kKeyUsage = {0x55, 0x1D, 0x0F};
constexpr std::array<unsigned char, 3> kSubjectAltName = {0x55, 0x1D, 0x11};
constexpr std::array<unsigned char, 3> kExtendedKeyUsage = {0x55, 0x1D, 0x25};
constexpr std::array<unsigned char, 4> kAnyUsage = {0x55, 0x1D, 0x25, 0x00};
constexpr std::array<unsigned char, 8> kServerUsage = {0x2B, 0x06, 0x01, 0x05,
                                                       0x05, 0x07, 0x03, 0x01};

constexpr unsigned char kDigitalSignature = 0x80;
constexpr unsigned char kEncipherment = 0x20 | 0x10;  // of keys, of data

bool equal(Bytes a, Bytes b) { return std::ranges::equal(a, b); }

bool startsWith(Bytes bytes, Bytes start) {
    return bytes.size() >= start.size() && equal(bytes.first(start.size()), start);
}

/// The identifier an AlgorithmIdentifier begins with; empty when there is none.
Bytes identifierIn(Bytes algorithm) {
    const auto identifier = DerReader(algorithm).next(der_tag::kObjectIdentifier);
    return identifier ? identifier->content : Bytes();
}

bool holdsPem(Bytes bytes) {
    constexpr std::string_view mark = "-----BEGIN";
    return std::search(bytes.begin(), bytes.end(), mark.begin(), mark.end()) != bytes.end();
}

}  // namespace

std::optional<CertificateView> CertificateView::read(Bytes bytes) {
    const auto certificate = DerReader(bytes).next(der_tag::kSequence);
    if (!certificate || holdsPem(bytes)) {
        return std::nullopt;
    }
    DerReader parts(certificate->content);
    const auto body = parts.next(der_tag::kSequence);
    const auto algorithm = parts.next(der_tag::kSequence);
    CertificateView view;
    if (!body || !algorithm || !parts.skip(der_tag::kBitString) || !parts.atEnd() ||
        !view.readBody(body->content)) {
        return std::nullopt;
    }
    view.bytes_ = certificate->whole;
    view.signatureAlgorithm_ = identifierIn(algorithm->content);
    return view;
}

bool CertificateView::readBody(Bytes body) {
    using namespace der_tag;
    DerReader reader(body);
    reader.skip(constructed(0));  // the version
    // Serial number, signature algorithm, issuer, validity and subject.
    if (!reader.skip(kInteger) || !reader.skip(kSequence) || !reader.skip(kSequence) ||
        !reader.skip(kSequence) || !reader.skip(kSequence)) {
        return false;
    }
    const auto key = reader.next(kSequence);
    const auto algorithm = key ? DerReader(key->content).next(kSequence) : std::nullopt;
    if (!algorithm) {
        return false;
    }
    keyAlgorithm_ = identifierIn(algorithm->content);
    reader.skip(context(1));  // unique identifiers of issuer and subject
    reader.skip(context(2));
    const auto extensions = reader.next(constructed(3));
    return reader.atEnd() && (!extensions || readExtensions(extensions->content));
}

bool CertificateView::readExtensions(Bytes list) {
    const auto sequence = DerReader(list).next(der_tag::kSequence);
    if (!sequence) {
        return false;
    }
    DerReader reader(sequence->content);
    while (!reader.atEnd()) {
        const auto extension = reader.next(der_tag::kSequence);
        if (!extension || !readExtension(extension->content)) {
            return false;
        }
    }
    return true;
}

bool CertificateView::readExtension(Bytes extension) {
    using namespace der_tag;
    DerReader reader(extension);
    const auto identifier = reader.next(kObjectIdentifier);
    reader.skip(kBoolean);  // critical
    const auto value = reader.next(kOctetString);
    if (!identifier || !value) {
        return false;
    }
    const bool usage = equal(identifier->content, kKeyUsage);
    const bool names = equal(identifier->content, kSubjectAltName);
    if (!usage && !names && !equal(identifier->content, kExtendedKeyUsage)) {
        return true;
    }
    const auto content = DerReader(value->content).next(usage ? kBitString : kSequence);
    if (!content) {
        return false;
    }
    if (usage) {
        // The first byte counts the unused bits of the last.
        keyUsage_ = content->content.size() > 1 ? content->content[1] : 0;
    } else if (names) {
        names_ = CertificateNames(content->content);
    } else {
        extendedKeyUsage_ = content->content;
    }
    return true;
}

bool CertificateView::hasRsaKey() const { return equal(keyAlgorithm_, kRsaEncryption); }

bool CertificateView::signedWithSha2() const {
    if (startsWith(signatureAlgorithm_, kEcdsaWithSha2)) {
        return true;
    }
    return startsWith(signatureAlgorithm_, kPkcs1) &&
           signatureAlgorithm_.size() == kPkcs1.size() + 1 &&
           signatureAlgorithm_.back() >= kSha256WithRsa &&
           signatureAlgorithm_.back() <= kSha224WithRsa;
}

bool CertificateView::allowsServer() const {
    if (keyUsage_ && ((*keyUsage_ & kDigitalSignature) == 0 || (*keyUsage_ & kEncipherment) == 0)) {
        return false;
    }
    if (!extendedKeyUsage_) {
        return true;
    }
    DerReader usages(*extendedKeyUsage_);
    while (const auto usage = usages.next(der_tag::kObjectIdentifier)) {
        if (equal(usage->content, kServerUsage) || equal(usage->content, kAnyUsage)) {
            return true;
        }
    }
    return false;
}

bool isForeignPrivateKey(Bytes key) {
    const auto sequence = DerReader(key).next(der_tag::kSequence);
    if (!sequence) {
        return false;
    }
    DerReader reader(sequence->content);
    reader.skip(der_tag::kInteger);  // the version
    const auto second = reader.next();
    if (!second) {
        return false;
    }
    return second->tag == der_tag::kOctetString ||  // SEC 1: elliptic curves alone
           (second->tag == der_tag::kSequence &&    // PKCS #8, of an algorithm it names
            !identifierIn(second->content).empty() &&
            !equal(identifierIn(second->content), kRsaEncryption));
}

}  // namespace nimb
