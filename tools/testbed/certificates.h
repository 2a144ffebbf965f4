#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "testbed/temp_dir.h"

namespace nimb::test {

/// When a certificate holds, as the moments YYYYMMDDHHMMSSZ.
struct Validity {
    std::string from;
    std::string until;
};

inline const Validity longValid{"20000101000000Z", "20990101000000Z"};
inline const Validity expired{"20000101000000Z", "20010101000000Z"};
inline const Validity notYetValid{"20980101000000Z", "20990101000000Z"};

/// What distinguishes one application's certificate from another's, in the words of openssl.
struct Traits {
    std::string hosts = "DNS:localhost";
    std::string usage = "digitalSignature, nonRepudiation, keyEncipherment, dataEncipherment";
    std::string digest = "sha256";
    std::vector<std::string> key = {"rsa:2048"};
    std::string purposes = "serverAuth, clientAuth";  ///< the extended usage
};

inline const std::vector<std::string> ellipticKey{"ec", "-pkeyopt", "ec_paramgen_curve:prime256v1"};

/// The files of one certificate with its key, RSA of 2048 bits by default, without a password.
struct Certificate {
    std::filesystem::path base;  ///< what all the file names begin with

    std::filesystem::path der() const { return base.string() + ".der"; }
    std::filesystem::path pem() const { return base.string() + ".pem"; }
    std::filesystem::path keyDer() const { return base.string() + ".key.der"; }
    std::filesystem::path keyPem() const { return base.string() + ".key.pem"; }
};

/// Makes certificates in a directory of its own, which goes when it goes. It runs the `openssl`
/// program, because the stack can neither make authorities nor revocation lists, nor certificates
/// that are not valid now. Names are file names; each may be used once. Every member throws
/// std::runtime_error with what the program said.
class CertificateMaker {
  public:
    CertificateMaker();

    /// An application's own certificate, with the application URI and localhost as its names.
    Certificate selfSigned(const std::string& name, const std::string& applicationUri,
                           const Validity& validity = longValid, const Traits& traits = {});

    /// An authority that can issue certificates: a root, or one that `issuer` stands for.
    Certificate authority(const std::string& name, const Validity& validity = longValid,
                          const Certificate* issuer = nullptr);

    /// An application's certificate issued by `authority`.
    Certificate issue(const Certificate& authority, const std::string& name,
                      const std::string& applicationUri, const Validity& validity = longValid,
                      const Traits& traits = {});

    /// A revocation list (DER) of `authority` that names `revoked`, certificates it issued.
    std::filesystem::path revocationList(const Certificate& authority, const std::string& name,
                                         const std::vector<Certificate>& revoked);

    /// A copy of the private key, as PEM, that needs `password`.
    std::filesystem::path encryptedKey(const Certificate& certificate, const std::string& password);

    const TempDir& directory() const noexcept { return directory_; }

  private:
    std::filesystem::path file(const std::string& name) const { return directory_.path() / name; }
    Certificate request(const std::string& name, const Traits& traits = {});
    void sign(const Certificate& certificate, const Certificate& issuer,
              const std::string& extensions, const std::string& applicationUri,
              const Validity& validity);

    TempDir directory_;
};

}  // namespace nimb::test
