#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nimb {

/// The numeric addresses of a host name, in the order in which the system wants them tried; empty
/// when it has none, with a line in the log that says why. Waits for the system's resolver, which
/// has timeouts of its own.
[[nodiscard]] std::vector<std::string> addressesOf(const std::string& host, std::uint16_t port);

}  // namespace nimb
