#pragma once

#include <cstdint>
#include <string>

namespace nimb::test {

/// A TCP socket on a free port of the loopback interface. Throws std::system_error.
class LoopbackSocket {
  public:
    LoopbackSocket();
    ~LoopbackSocket();
    LoopbackSocket(const LoopbackSocket&) = delete;
    LoopbackSocket& operator=(const LoopbackSocket&) = delete;

    std::uint16_t port() const noexcept { return port_; }
    std::string url() const { return "opc.tcp://127.0.0.1:" + std::to_string(port_); }

  protected:
    int descriptor() const noexcept { return descriptor_; }

  private:
    int descriptor_;
    std::uint16_t port_ = 0;
};

/// A port that refuses connections for as long as this object lives: it is taken, so that nothing
/// else can begin to listen there, but not listened on.
class RefusingPort : public LoopbackSocket {};

/// A peer to which connections succeed, and which then neither says nor reads anything.
class SilentListener : public LoopbackSocket {
  public:
    SilentListener();
};

}  // namespace nimb::test
