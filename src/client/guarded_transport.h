#pragma once

#include <open62541/client.h>
#include <open62541/plugin/eventloop.h>

#include <memory>
#include <string>
#include <vector>

#include "client/guarded_connection.h"

namespace nimb {

/// Stands between the sockets and the stack of one client: the only place that sees raw bytes. The
/// stack opens, uses and closes its connections through it, and drives its event loop through it.
///
/// open62541 1.4.11 trusts its peer with more than a database process can bear: replies whose type
/// cannot be decoded end the process, messages that only clients send make it loop, a send to a
/// peer that stopped reading waits for ever, a peer that accepts and closes is tried without pause.
///
/// Registered in the client's event loop as its manager of protocol "tcp"; the event loop owns it
/// and frees it at its own end.
class GuardedTransport final : private UA_ConnectionManager, private ConnectionOwner {
  public:
    /// What the stack is used for.
    enum class Use {
        request,  ///< a connect or a service call
        drive,    ///< the event loop is driven, nothing is waited for
        goodBye   ///< session and channel are closed
    };

    /// Puts a guard into a configuration that has the stack's defaults, and the limits of messages.
    /// To be called once, before the first connect.
    static UA_StatusCode install(UA_ClientConfig& config);
    /// The guard of that client, owned by it; null when it has none.
    static GuardedTransport* of(UA_Client* client);

    GuardedTransport(const GuardedTransport&) = delete;
    GuardedTransport& operator=(const GuardedTransport&) = delete;

    /// Begins a use of the stack that has to end within `timeout` milliseconds from `now` on, which
    /// may lie some milliseconds back.
    void begin(Use use, UA_UInt32 timeout, TransportClock::time_point now);
    void end();

    /// Messages that the stack has sent, those included that it sends by itself while it is driven.
    [[nodiscard]] std::uint64_t sentMessages() const { return sentMessages_; }

    /// Keeps the round of the loop that is going on, or the next one, from waiting for what no
    /// longer comes, as the stack does not see that by itself.
    void endRound();

  private:
    GuardedTransport(UA_EventLoop& loop, UA_ConnectionManager& sockets);
    ~GuardedTransport() = default;

    static GuardedTransport* of(UA_EventLoop* loop);
    static GuardedTransport& self(UA_ConnectionManager* manager) {
        return *static_cast<GuardedTransport*>(manager);
    }
    void fillSlots();

    UA_StatusCode open(const UA_KeyValueMap& params, ConnectionRequest request);
    UA_StatusCode runLoop(UA_EventLoop* loop, UA_UInt32 timeout);
    UA_UInt32 boundedWait(UA_UInt32 timeout);
    [[nodiscard]] DecryptedMessages* encryptedMessages() const;
    void closeAll();
    [[nodiscard]] GuardedConnection* find(std::uintptr_t id) const;
    [[nodiscard]] bool overdue(TransportClock::time_point now) const;

    void bytesArrived() override {
        call_.heard = true;
        lastRequestTimedOut_ = false;
    }
    void addressWorks(const std::string& address) override;
    void failed() override { call_.mayOpen = false; }
    void ended(GuardedConnection& connection) override;

    /// The use of the stack that is going on.
    struct Call {
        Use use = Use::drive;
        bool going = false;
        bool begun = false;  ///< and the loop has not run since
        bool mayOpen = true;
        bool heard = false;  ///< bytes have arrived
        int opened = 0;
        TransportClock::time_point begin;
        TransportClock::time_point deadline;
        /// When the guard ends what the stack did not end itself.
        TransportClock::time_point end;
    };

    UA_ConnectionManager& sockets_;
    UA_StatusCode (*const run_)(UA_EventLoop*, UA_UInt32);
    std::vector<std::unique_ptr<GuardedConnection>> connections_;
    std::uintptr_t lastId_ = 0;
    Call call_;
    std::uint64_t sentMessages_ = 0;
    bool lastRequestTimedOut_ = false;
    /// The addresses of the host that the current call connects to, the one that works first.
    std::string host_;
    std::vector<std::string> addresses_;
};

}  // namespace nimb
