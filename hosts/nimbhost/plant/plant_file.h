#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace nimb::nimbhost {

/// Something a person gave is wrong: what, where, and what would be right. Exit status 2.
class BadInput : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A server and how to get at it, as a plant file and the command line tell it.
struct PlantSettings {
    std::string name;            ///< of the plant file; empty without one
    std::filesystem::path file;  ///< the plant file; empty without one
    std::string url;
    int timeout = 3000;  ///< milliseconds
    int mode = 1;        ///< 1 in clear, 2 signed (the library refuses it), 3 encrypted
    std::string certificate, key, trusted, revoked, uri;
    int stringMode = 0;  ///< 0: 8-bit texts, 1: 16-bit texts
    std::optional<std::string> user;
    std::string passwordFile;
    int defaultNamespace = 2;  ///< of bare node names

    bool isEncrypted() const noexcept { return mode == 3; }
};

/// Where plant files are looked for behind the current folder.
inline constexpr const char* kPlantFolder = "/etc/nimbopcua";

/// The file of the plant `name`: ./NAME.conf, then the one in the system's folder. A name with a
/// slash or the ending .conf is a path. Throws BadInput when there is none.
std::filesystem::path findPlantFile(const std::string& name);

/// Reads `key = value` lines; # begins a comment. Paths are relative to the file's own folder.
/// Keys: url, timeout, mode (none, encrypt; sign is read, and refused by the
/// library), certificate, key, trusted, revoked, uri, string-mode
/// (utf8, utf16), user, password-file, namespace. Throws BadInput with file and line.
PlantSettings readPlantFile(const std::string& name);

/// The password of the settings' user: from the password file, else from the environment variable
/// NIMBOPCUA_PASSWORD, else typed at the terminal without an echo. There is no option for it: what
/// stands on a command line can be seen by every user of the machine. Throws BadInput when none of
/// the three has it.
std::string passwordFor(const PlantSettings& settings);

}  // namespace nimb::nimbhost
