#pragma once

#include <open62541/plugin/eventloop.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "client/chunk_stream.h"
#include "client/decrypted_messages.h"

namespace nimb {

using TransportClock = std::chrono::steady_clock;

class GuardedConnection;

/// What a connection tells the transport that owns it.
class ConnectionOwner {
  public:
    virtual void bytesArrived() = 0;
    /// The peer was reached at that address.
    virtual void addressWorks(const std::string& address) = 0;
    /// Its bytes were refused, or it ended before the server had answered to the request for a
    /// channel. The stack learns it next.
    virtual void failed() = 0;
    /// The connection has ended, the stack knows: it is to be destroyed.
    virtual void ended(GuardedConnection& connection) = 0;

  protected:
    ~ConnectionOwner() = default;
};

/// Where and for whom a connection is opened. The callback is the stack's.
struct ConnectionRequest {
    std::vector<std::string> addresses;  ///< numeric, to be tried in turn; at least one
    std::uint16_t port = 0;
    void* application = nullptr;
    void* context = nullptr;
    UA_ConnectionManager_connectionCallback callback = nullptr;
};

/// One connection as the stack sees it, over one socket for each address that is tried. Bytes from
/// the server pass the chunk stream before the stack sees them.
class GuardedConnection {
  public:
    /// @param manager  the guard, as which the stack knows its connection manager
    /// @param sockets  the stack's own manager, which has the sockets
    /// @param id       by which the stack names this connection
    GuardedConnection(ConnectionOwner& owner, UA_ConnectionManager& manager,
                      UA_ConnectionManager& sockets, std::uintptr_t id, ConnectionRequest request);
    GuardedConnection(const GuardedConnection&) = delete;
    GuardedConnection& operator=(const GuardedConnection&) = delete;
    ~GuardedConnection() = default;

    [[nodiscard]] std::uintptr_t id() const { return id_; }
    [[nodiscard]] bool closing() const { return closing_; }
    [[nodiscard]] bool channelAnswered() const { return stream_.channelAnswered(); }
    /// What the security policies decrypt of it; null on a channel in clear.
    [[nodiscard]] DecryptedMessages* decrypted() {
        return stream_.inClear() ? nullptr : &decrypted_;
    }

    /// Begins with the first address.
    /// @param deadline  the addresses share the time until then
    UA_StatusCode open(TransportClock::time_point deadline);
    /// Sends the whole message, waiting until the deadline for room in the socket's buffer. What
    /// cannot be sent whole ends the connection.
    UA_StatusCode send(const UA_ByteString& message, TransportClock::time_point deadline);
    UA_StatusCode close();

    /// Until when the address that is tried now may take; the largest time when there is no other
    /// or the peer was reached.
    [[nodiscard]] TransportClock::time_point addressDue() const;
    /// Goes on to the next address.
    void giveAddressUp();

  private:
    static void onEvent(UA_ConnectionManager* sockets, std::uintptr_t socket, void* application,
                        void** context, UA_ConnectionState state, const UA_KeyValueMap* params,
                        UA_ByteString bytes) noexcept;
    void opening(std::uintptr_t socket, const UA_KeyValueMap* params);
    void established(const UA_KeyValueMap* params, const UA_ByteString& bytes);
    void closed(const UA_KeyValueMap* params);
    UA_StatusCode tryAddresses();
    void handOn(UA_ConnectionState state, const UA_KeyValueMap* params, const UA_ByteString& bytes);

    ConnectionOwner& owner_;
    UA_ConnectionManager& manager_;
    UA_ConnectionManager& sockets_;
    const std::uintptr_t id_;
    ConnectionRequest request_;
    std::size_t nextAddress_ = 0;
    TransportClock::time_point deadline_;
    TransportClock::time_point addressDue_;
    std::uintptr_t socket_ = 0;
    ChunkStream stream_;
    DecryptedMessages decrypted_;
    bool announced_ = false;
    bool established_ = false;
    bool closing_ = false;
};

}  // namespace nimb
