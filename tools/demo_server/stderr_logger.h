#pragma once

#include <open62541/plugin/log.h>

namespace nimb::plant {

/// Where a server's messages go. Both live for the whole process.
UA_Logger* silentLogger() noexcept;
UA_Logger* stderrLogger() noexcept;

}  // namespace nimb::plant
