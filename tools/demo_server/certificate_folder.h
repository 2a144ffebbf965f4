#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "demo_server/certificates.h"

namespace nimb::plant {

/// The folder of a server that encrypts: own/ has its certificate and key, trusted/ and revoked/
/// decide on clients, rejected/ keeps the certificates of those that were refused.
class CertificateFolder {
  public:
    /// Makes what is missing of the folders, and a certificate when own/ has none. Nothing that is
    /// there is changed. Throws std::runtime_error when own/ holds a certificate or a key alone,
    /// or two that do not belong together.
    CertificateFolder(std::filesystem::path root, const std::string& applicationUri);

    const CertificateAndKey& own() const noexcept { return own_; }
    std::filesystem::path certificateFile() const { return root_ / "own" / "server.der"; }
    std::filesystem::path trustedFolder() const { return root_ / "trusted"; }

    /// The files of trusted/ and revoked/ as they are now, hidden ones left out.
    std::vector<std::string> trusted() const { return filesOf("trusted"); }
    std::vector<std::string> revoked() const { return filesOf("revoked"); }

    /// Keeps a certificate (DER) in rejected/ under its fingerprint, unless 50 others are there.
    /// Returns its file; empty when it is not kept.
    std::filesystem::path reject(const std::string& certificate) const;

  private:
    std::filesystem::path keyFile() const { return root_ / "own" / "server.key.der"; }
    std::vector<std::string> filesOf(const char* folder) const;
    void makeOwn(const std::string& applicationUri) const;

    std::filesystem::path root_;
    CertificateAndKey own_;
};

}  // namespace nimb::plant
