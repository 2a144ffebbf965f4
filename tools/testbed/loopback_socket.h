#pragma once

#include <cstdint>
#include <string>

#include "testbed/descriptor.h"

namespace nimb::test {

/// A TCP socket on a free port of the loopback interface. Throws std::system_error.
class LoopbackSocket {
  public:
    /// @param flags  of socket(2), such as SOCK_NONBLOCK
    explicit LoopbackSocket(int flags = 0);

    std::uint16_t port() const noexcept { return port_; }
    std::string url() const { return "opc.tcp://127.0.0.1:" + std::to_string(port_); }
    int descriptor() const noexcept { return descriptor_.get(); }

    /// From now on connections succeed; the system completes the first 64 by itself.
    void listen() const;

  private:
    Descriptor descriptor_;
    std::uint16_t port_ = 0;
};

/// A port that refuses connections for as long as this object lives: it is taken, so that nothing
/// else can begin to listen there, but not listened on.
class RefusingPort : public LoopbackSocket {};

/// A peer to which connections succeed, and which then neither says nor reads anything.
class SilentListener : public LoopbackSocket {
  public:
    SilentListener() { listen(); }
};

/// A connection to a port of the loopback interface; none when it is refused.
[[nodiscard]] Descriptor connectTo(std::uint16_t port) noexcept;

/// Makes the close of a connection send a reset instead of an orderly end.
void resetOnClose(int connection) noexcept;

/// Makes each run of bytes a segment of its own; none waits for its fellows.
void sendAtOnce(int connection) noexcept;

}  // namespace nimb::test
