#pragma once

#include <open62541/types.h>

#include <cstddef>

namespace nimb {

/// Bytes of the text that writeOdbcDate() writes: 27 UTF-16 units.
inline constexpr std::size_t kOdbcDateBytes = 54;

/// Writes "YYYY-MM-DD hh:mm:ss.fffffff" (UTC) as UTF-16, little-endian, at any alignment. Instants
/// outside the years 0 to 9999 have longer texts, which are cut.
/// @param out  room for kOdbcDateBytes
void writeOdbcDate(UA_DateTime time, unsigned char* out);

}  // namespace nimb
