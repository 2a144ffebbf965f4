#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "testbed/descriptor.h"
#include "testbed/loopback_socket.h"

namespace nimb::test {

/// What a relay does to the connections through it, from the next `set` on.
enum class Fault {
    none,      ///< all bytes pass
    cut,       ///< connections end in order, new ones end at once
    reset,     ///< the same without order: the peers get a reset
    freeze,    ///< nothing passes; connections stay, new ones are completed by the system
    halfOpen,  ///< requests pass, replies are thrown away
    slow,      ///< one byte at a time, `slowness` apart
};

/// A relay on the loopback interface between clients and a server, for faults of the network that
/// no server can play. It has one thread. Throws std::system_error when it cannot listen.
class FaultProxy {
  public:
    /// @param server  port of the server; it need not listen before the first connection
    explicit FaultProxy(std::uint16_t server);
    ~FaultProxy();
    FaultProxy(const FaultProxy&) = delete;
    FaultProxy& operator=(const FaultProxy&) = delete;

    std::string url() const { return listener_.url(); }

    /// Returns when the fault is in effect. Bytes that a freeze held back pass after it.
    void set(Fault fault);

    /// Milliseconds between two bytes of one direction under Fault::slow.
    static constexpr int slowness = 5;

    /// Sees every run of bytes that comes from the server, in the relay's thread, and may change
    /// it. To be set before the first connection.
    std::function<void(std::string&)> onReply;
    /// How many connections clients have opened so far.
    int connectionsSeen() const { return connectionsSeen_; }

  private:
    /// One direction of a connection: bytes read from one end and not yet written to the other.
    struct Stream {
        int from;
        int to;
        bool isReply;
        std::string waiting;
    };
    struct Connection {
        Connection(Descriptor clientEnd, Descriptor serverEnd)
            : client(std::move(clientEnd)),
              server(std::move(serverEnd)),
              request{client.get(), server.get(), false, {}},
              reply{server.get(), client.get(), true, {}} {}
        Descriptor client;
        Descriptor server;
        Stream request;
        Stream reply;
    };

    void serve();
    void wait(Fault fault);
    void accept(Fault fault);
    void endAll(Fault fault);
    bool relay(Connection& connection, Fault fault) const;
    bool pump(Stream& stream, Fault fault) const;

    const std::uint16_t server_;
    LoopbackSocket listener_;
    Descriptor wake_;
    std::list<Connection> connections_;  // the thread's own

    std::mutex mutex_;
    std::condition_variable applied_;
    std::atomic<int> connectionsSeen_ = 0;
    Fault wanted_ = Fault::none;
    Fault inEffect_ = Fault::none;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace nimb::test
