#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "nimbhost/certificates/openssl_owner.h"

namespace nimb::nimbhost {

/// Second resolution, UTC, as certificates have it.
using Instant = std::chrono::sys_seconds;

/// "2031-11-20", UTC.
std::string dayText(Instant instant);

/// In whole seconds: with the clock's own fractions, a comparison would reach the year 2262 at
/// most, and certificates that are to hold for ever end in 9999.
Instant instantNow();

/// A certificate, as much of it as decides whether a session comes about.
class Certificate {
  public:
    /// Reads DER or PEM; nothing when the bytes are no certificate.
    static std::optional<Certificate> parse(std::string_view bytes);

    std::string subject() const;         ///< "CN=...,O=..." (RFC 2253)
    std::string issuer() const;          ///< likewise
    std::string applicationUri() const;  ///< the first URI among its names, or empty
    std::vector<std::string> hosts() const;
    /// Whether one of them is this host, or a pattern for it.
    bool isFor(const std::string& host) const;  ///< host names and addresses it is made out to
    Instant notBefore() const;
    Instant notAfter() const;
    std::string sha256() const;  ///< fingerprint, "A2:24:..." in capitals
    std::string der() const;
    bool isAuthority() const;  ///< may issue certificates
    bool isSelfSigned() const;
    bool hasRsaKey() const;  ///< the stack can use no other
    X509* get() const noexcept { return x509_.get(); }

  private:
    explicit Certificate(OwnedX509 x509) : x509_(std::move(x509)) {}
    std::vector<std::string> names(int kind) const;

    OwnedX509 x509_;
};

/// A revocation list.
class RevocationList {
  public:
    /// Reads DER or PEM; nothing when the bytes are none.
    static std::optional<RevocationList> parse(std::string_view bytes);

    std::string issuer() const;
    /// When the next one is due; nothing when the list does not say.
    std::optional<Instant> nextUpdate() const;

  private:
    explicit RevocationList(OwnedCrl crl) : crl_(std::move(crl)) {}

    OwnedCrl crl_;
};

/// Digits of a fingerprint in capitals without separators; empty when `text` is none.
std::string fingerprintDigits(std::string_view text);

}  // namespace nimb::nimbhost
