#pragma once

#include <open62541/types.h>

#include <cstddef>

namespace nimb {

/// A UA_DateTime counts ticks of 100 ns since 1601-01-01 00:00 UTC.
inline constexpr UA_DateTime kTicksPerSecond = 10000000;
inline constexpr UA_DateTime kSecondsPerDay = 86400;
inline constexpr UA_DateTime kTicksPerDay = kTicksPerSecond * kSecondsPerDay;
/// 1970-01-01 as a UA_DateTime.
inline constexpr UA_DateTime kUnixEpochTicks = 116444736000000000;

/// Bytes of the text that writeOdbcDate() writes: 27 UTF-16 units.
inline constexpr std::size_t kOdbcDateBytes = 54;

/// Writes "YYYY-MM-DD hh:mm:ss.fffffff" (UTC) as UTF-16, little-endian, at any alignment. Instants
/// outside the years 0 to 9999 have longer texts, which are cut.
/// @param out  room for kOdbcDateBytes
void writeOdbcDate(UA_DateTime time, unsigned char* out);

}  // namespace nimb
