#pragma once

#include <open62541/types.h>

#include <optional>

#include "client/certificate_names.h"
#include "client/der.h"

namespace nimb {

/// A view of a stack value's bytes.
[[nodiscard]] inline Bytes derOf(const UA_ByteString& string) {
    return {string.data, string.length};
}

/// What the library asks of a certificate before it lets the stack have it; a view of the bytes it
/// was read from. That its signature holds and its authority is trusted is for the stack to say.
class CertificateView {
  public:
    /// Reads the first certificate of `bytes`, which must be in DER form; issuers may follow it.
    /// @return none for anything else, and for bytes that the stack could take for PEM: its reader
    ///         would find another certificate there than this one
    static std::optional<CertificateView> read(Bytes bytes);

    /// The certificate without what follows it.
    [[nodiscard]] Bytes bytes() const { return bytes_; }
    [[nodiscard]] bool hasRsaKey() const;
    /// RSA (PKCS #1 v1.5) or ECDSA over a hash of the SHA-2 family.
    [[nodiscard]] bool signedWithSha2() const;
    /// Its key usages, where it restricts them, allow a server that signs and encrypts.
    [[nodiscard]] bool allowsServer() const;
    [[nodiscard]] const CertificateNames& names() const { return names_; }

  private:
    bool readBody(Bytes body);
    bool readExtensions(Bytes list);
    bool readExtension(Bytes extension);

    Bytes bytes_;
    Bytes signatureAlgorithm_;
    Bytes keyAlgorithm_;
    std::optional<unsigned char> keyUsage_;  ///< the first eight usages, 0x80 the first
    std::optional<Bytes> extendedKeyUsage_;
    CertificateNames names_;
};

/// Whether a private key in DER form (PKCS #1, PKCS #8 or SEC 1) is surely none of RSA.
[[nodiscard]] bool isForeignPrivateKey(Bytes key);

}  // namespace nimb
