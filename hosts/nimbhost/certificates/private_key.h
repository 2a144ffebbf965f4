#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "nimbhost/certificates/certificate.h"

namespace nimb::nimbhost {

/// A private key. Its bytes show nowhere: there is no way to print one.
class PrivateKey {
  public:
    enum class Fault { none, password, noKey };

    /// Reads DER or PEM. A key that needs a password is a fault: nobody is there to type it.
    explicit PrivateKey(std::string_view bytes);

    Fault fault() const noexcept { return fault_; }
    bool belongsTo(const Certificate& certificate) const;
    bool isRsa() const;

  private:
    OwnedKey key_;
    Fault fault_ = Fault::none;
};

/// What a new client certificate says.
struct CertificateRequest {
    std::string applicationUri;
    std::string commonName = "NIMB OPC UA client";
    std::string organization;  ///< left out when empty
    std::string host;          ///< name of this machine
    int days = 1825;
};

struct NewCertificate {
    std::string der;
    std::string keyPem;
};

/// A self-signed certificate with a new RSA key of 2048 bits. Throws std::runtime_error.
NewCertificate makeCertificate(const CertificateRequest& request);

}  // namespace nimb::nimbhost
