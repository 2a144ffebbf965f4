#pragma once

#include <open62541/types.h>

namespace nimb {

// A UA_DateTime counts ticks of 100 ns since 1601-01-01 00:00 UTC.
inline constexpr UA_DateTime kTicksPerSecond = 10000000;
inline constexpr UA_DateTime kSecondsPerDay = 86400;
inline constexpr UA_DateTime kTicksPerDay = kTicksPerSecond * kSecondsPerDay;
/// 1970-01-01 as a UA_DateTime.
inline constexpr UA_DateTime kUnixEpochTicks = 116444736000000000;

}  // namespace nimb
