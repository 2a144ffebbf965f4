#pragma once

#include <sys/types.h>

#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace nimb::nimbhost {

/// A file that cannot be read or written; the text names it and the system's reason.
class FileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// All bytes of a regular file of at most 16 MiB. Throws FileError.
std::string readWholeFile(const std::filesystem::path& path);

/// Writes a file in one step: the bytes go to a temporary name beside it, reach the disk, and are
/// renamed, so that nobody ever sees half of it. Throws FileError.
/// @param mode       permissions, whatever the umask
/// @param overwrite  whether a file of that name may be replaced; otherwise its presence is an
/// error
void writeWholeFile(const std::filesystem::path& path, std::string_view bytes, mode_t mode,
                    bool overwrite);

/// What a file is to hold, and its permissions, whatever the umask.
struct NewFile {
    std::filesystem::path path;
    std::string_view bytes;
    mode_t mode;
};

/// Writes files that belong together, such as a key and its certificate: all of them are on the
/// disk under temporary names before the first is renamed, so that a full disk, or an end in the
/// middle other than between two renames, leaves the earlier ones together. Throws FileError.
/// @param overwrite  as above, for all of them
void writeTogether(std::span<const NewFile> files, bool overwrite);

}  // namespace nimb::nimbhost
