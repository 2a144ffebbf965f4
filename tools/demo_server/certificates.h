#pragma once

#include <string>

namespace nimb::plant {

/// A certificate and its private key, both DER.
struct CertificateAndKey {
    std::string certificate;
    std::string key;
};

/// Makes an application's certificate, signed by itself and valid for five years, with an RSA key
/// of 2048 bits. Throws std::runtime_error with the stack's reason.
CertificateAndKey makeCertificate(const std::string& commonName, const std::string& applicationUri);

/// Both are DER or PEM. False when one of them cannot be read or the key needs a password.
bool belongTogether(const std::string& certificate, const std::string& key);

/// "A2:24:...:A9", the SHA-256 of a certificate (DER or PEM); empty when it is none.
std::string fingerprint(const std::string& certificate);

/// The certificate's subject in one line, control characters escaped; empty when it is none.
std::string subjectOf(const std::string& certificate);

/// "2031-11-20", the last day on which the certificate holds; empty when it is none.
std::string lastDayOf(const std::string& certificate);

}  // namespace nimb::plant
