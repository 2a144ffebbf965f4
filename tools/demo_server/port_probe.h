#pragma once

#include <cstdint>

namespace nimb::plant {

/// True when nothing listens on the loopback port. Connections to an earlier server that linger in
/// TIME_WAIT do not count.
bool portIsFree(std::uint16_t port) noexcept;

}  // namespace nimb::plant
