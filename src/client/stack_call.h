#pragma once

#include <open62541/client.h>

#include <chrono>
#include <cstdint>

namespace nimb {

/// One use of the stack, from just before its function is called to just after it returned: every
/// call that may touch the network is made while such an object lives. It bounds the call's time,
/// however the peer behaves, allows it one attempt to connect, and keeps the stack from trusting
/// the host's errno. Only one at a time for a client; it must not outlive the client.
class StackCall {
  public:
    using Clock = std::chrono::steady_clock;

    /// A connect or a service call, bounded by the timeout of the client's set-up.
    [[nodiscard]] static StackCall request(UA_Client* client);
    /// A drive of the event loop.
    /// @param timeout  in milliseconds
    /// @param now      may lie some milliseconds back
    [[nodiscard]] static StackCall drive(UA_Client* client, UA_UInt32 timeout,
                                         Clock::time_point now);
    /// The end of session and channel. Not waited for when the last request timed out and nothing
    /// has arrived since, else bounded by the timeout.
    [[nodiscard]] static StackCall goodBye(UA_Client* client);

    StackCall(const StackCall&) = delete;
    StackCall& operator=(const StackCall&) = delete;
    ~StackCall();

    /// Messages that the stack has sent for the client, those of earlier uses included.
    [[nodiscard]] std::uint64_t sentMessages() const;

  private:
    explicit StackCall(class GuardedTransport* transport) : transport_(transport) {}

    GuardedTransport* transport_;
};

}  // namespace nimb
