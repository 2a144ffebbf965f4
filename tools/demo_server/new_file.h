#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace nimb::plant {

/// Writes a file that appears under its name only once it is complete; one that is there already
/// stays as it is and is an error. `mode` holds from the first byte on. Throws std::system_error
/// naming the path.
void writeNewFile(const std::filesystem::path& path, const std::string& bytes, mode_t mode);

/// The bytes of a file; throws std::system_error naming the path.
std::string readWholeFile(const std::filesystem::path& path);

}  // namespace nimb::plant
