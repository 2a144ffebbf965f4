#pragma once

#include <open62541/types.h>

#include <memory>
#include <string>
#include <vector>

#include "errors/uac_err.h"

namespace nimb {

/// The bytes of one file, owned and wiped before they are freed, since they may be a private key.
class FileBytes {
  public:
    /// Certificates, keys and revocation lists are far smaller; what is larger is refused unread.
    static constexpr std::size_t kMaxSize = std::size_t{16} << 20;

    FileBytes() = default;
    FileBytes(FileBytes&& other) noexcept { swap(other); }
    FileBytes& operator=(FileBytes&& other) noexcept {
        swap(other);
        return *this;
    }
    ~FileBytes();

    /// Reads a regular file whole. Never waits: pipes and devices are refused.
    /// @return false when the file cannot be read; the contents are then empty
    [[nodiscard]] bool read(const std::string& path);

    /// The bytes as the stack takes them; valid while this object lives.
    [[nodiscard]] UA_ByteString view() const { return {size_, bytes_.get()}; }

  private:
    void swap(FileBytes& other) noexcept {
        bytes_.swap(other.bytes_);
        std::swap(size_, other.size_);
    }

    std::unique_ptr<unsigned char[]> bytes_;
    std::size_t size_ = 0;
};

/// What an encrypted session needs from the host's files.
struct SecurityMaterial {
    FileBytes certificate;
    FileBytes privateKey;
    std::vector<FileBytes> trustList;
    std::vector<FileBytes> revocationList;
};

/// Where the host keeps that material.
struct SecurityPaths {
    std::string certificate;
    std::string privateKey;
    std::string trustDirectory;
    std::string revocationDirectory;
};

/// Reads all files; in the directories every entry whose name does not begin with ".".
/// @return kind 2, code 8 and a text with the path of the first one that cannot be read
UACErr readSecurityMaterial(const SecurityPaths& paths, SecurityMaterial& material);

/// Views of the files in a row, as the stack takes them; valid while the files live.
[[nodiscard]] std::vector<UA_ByteString> views(const std::vector<FileBytes>& files);

}  // namespace nimb
