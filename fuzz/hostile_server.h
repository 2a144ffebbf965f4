#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "damage.h"
#include "testbed/descriptor.h"
#include "testbed/loopback_socket.h"

namespace nimb::fuzz {

/// The first byte of an input whose replies are damaged: damages follow, then the replies.
inline constexpr std::uint8_t kDamagedFraming = 5;

/// A server on a loopback port that answers requests with given bytes. It serves one connection and
/// has one thread; further connections end at once.
class HostileServer {
  public:
    enum class Framing {
        kept,   ///< answers find their requests, their headers are put right
        asIs,   ///< one message for each request, as its length says, untouched
        stream  ///< all bytes at once behind the first request
    };

    /// @param replies  messages of a server, one behind the other
    /// @param damages  what befalls the replies after all that
    HostileServer(std::span<const std::uint8_t> replies, Framing framing,
                  std::vector<Damage> damages = {});
    ~HostileServer();
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;

    std::string url() const { return listener_.url(); }
    /// True once the connection has ended: nothing more can come of further calls.
    bool finished() const { return finished_; }

  private:
    void serve();
    void converse(int connection);
    bool answer(int connection, const std::string& request);
    [[nodiscard]] bool itemsAwaited() const;
    bool answerHeldBack(int connection);
    bool deliver(int connection, const std::string& reply);
    std::string takeReplyTo(const std::string& request);
    void putRight(std::string& reply, const std::string& request);

    const Framing framing_;
    std::vector<std::string> replies_;
    std::vector<std::string> heldBack_;  ///< publish requests
    const std::vector<Damage> damages_;
    std::size_t delivered_ = 0;
    std::uint32_t sequenceNumber_ = 0;
    test::LoopbackSocket listener_;
    test::Descriptor wake_;
    std::atomic<bool> finished_ = false;
    std::thread thread_;
};

}  // namespace nimb::fuzz
