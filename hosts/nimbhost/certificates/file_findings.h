#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "nimbhost/certificates/certificate.h"
#include "nimbhost/certificates/private_key.h"

namespace nimb::nimbhost {

/// What a file of a plant's folders turns out to be.
struct FileFinding {
    enum class Kind { certificate, key, revocationList, rubbish, unreadable };

    std::filesystem::path file;
    Kind kind = Kind::rubbish;
    std::string text;    ///< what to say of it, one line
    std::string sha256;  ///< of a certificate
    std::optional<Certificate> certificate;
    std::optional<PrivateKey> key;
    std::optional<RevocationList> revocations;
    bool isStray = false;  ///< a key beside certificates of which none is its own

    bool isUsable() const noexcept {
        return kind == Kind::certificate || kind == Kind::revocationList ||
               (kind == Kind::key && key->fault() == PrivateKey::Fault::none && !isStray);
    }
};

/// Opens the file and tries what it may be.
FileFinding lookAt(const std::filesystem::path& file);

/// Opens all of them and marks keys that belong to no certificate among them, when there is any.
std::vector<FileFinding> lookAtAll(const std::vector<std::filesystem::path>& files);

/// What the set-up reads of a folder: everything in it whose name does not begin with a dot, by
/// name. Empty for a folder that cannot be read.
std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder);

nlohmann::ordered_json jsonOf(const FileFinding& finding);

}  // namespace nimb::nimbhost
