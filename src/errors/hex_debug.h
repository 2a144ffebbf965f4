#pragma once

#include <cstddef>
#include <string>

namespace nimb {

/// Bytes as a person reads them in a message: a blank and two upper-case hexadecimal digits each.
[[nodiscard]] std::string UAC_GetHexDebugString(const unsigned char* bytes, std::size_t count);

}  // namespace nimb
