#pragma once

#include <optional>
#include <string>

namespace nimb::nimbhost {

struct HostAndPort {
    std::string host;
    std::string port;
};

/// The parts of opc.tcp://HOST[:PORT][/PATH]; an IPv6 address stands in brackets. The port is 4840
/// unless given.
std::optional<HostAndPort> hostAndPort(const std::string& url);

}  // namespace nimb::nimbhost
