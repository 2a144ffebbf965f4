#pragma once

#include <open62541/server.h>

#include "demo_server/plant_server.h"

namespace nimb::plant {

/// A server configuration for `options`: loopback only, with their security, logins and limits.
/// The caller owns it. Throws std::runtime_error naming what the stack refused.
UA_ServerConfig makeServerConfig(const PlantOptions& options);

}  // namespace nimb::plant
