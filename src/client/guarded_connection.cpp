#include "client/guarded_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "errors/file_descriptor.h"
#include "errors/log_file.h"

namespace nimb {

namespace {

using std::chrono::milliseconds;

UA_String viewOf(std::string& text) {
    return {text.size(), reinterpret_cast<unsigned char*>(text.data())};
}

/// Waits for room in the socket's buffer. False when the time is over or the socket broken.
bool awaitRoom(int socket, TransportClock::time_point deadline) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - TransportClock::now());
    if (left.count() <= 0) {
        return false;
    }
    pollfd awaited{socket, POLLOUT, 0};
    const int ready = poll(&awaited, 1, static_cast<int>(left.count()));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

bool sendAll(int socket, const UA_ByteString& message, TransportClock::time_point deadline) {
    std::size_t done = 0;
    while (done < message.length) {
        const ssize_t sent =
            ::send(socket, message.data + done, message.length - done, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            if (!awaitRoom(socket, deadline)) {
                return false;
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// A request for a channel names its security policy: behind the header and the channel's number a
/// length and the name.
bool asksForChannel(const UA_ByteString& message, bool& inClear) {
    constexpr std::size_t nameAt = 16;
    constexpr std::string_view none = "http://opcfoundation.org/UA/SecurityPolicy#None";
    if (message.length < nameAt || std::memcmp(message.data, "OPN", 3) != 0) {
        return false;
    }
    const std::string_view rest(reinterpret_cast<const char*>(message.data) + nameAt,
                                message.length - nameAt);
    std::uint32_t length = 0;
    std::memcpy(&length, message.data + nameAt - sizeof length, sizeof length);
    inClear = length == none.size() && rest.starts_with(none);
    return true;
}

}  // namespace

GuardedConnection::GuardedConnection(ConnectionOwner& owner, UA_ConnectionManager& manager,
                                     UA_ConnectionManager& sockets, std::uintptr_t id,
                                     ConnectionRequest request)
    : owner_(owner), manager_(manager), sockets_(sockets), id_(id), request_(std::move(request)) {}

UA_StatusCode GuardedConnection::open(TransportClock::time_point deadline) {
    deadline_ = deadline;
    return tryAddresses();
}

UA_StatusCode GuardedConnection::tryAddresses() {
    UA_StatusCode status = UA_STATUSCODE_BADCONNECTIONREJECTED;
    while (status != UA_STATUSCODE_GOOD && nextAddress_ < request_.addresses.size()) {
        const auto now = TransportClock::now();
        const auto untried = static_cast<int>(request_.addresses.size() - nextAddress_);
        addressDue_ = now + (deadline_ - now) / untried;
        UA_String address = viewOf(request_.addresses[nextAddress_++]);
        std::array<char, 5> portName{"port"};
        std::array<char, 8> addressName{"address"};
        std::array<UA_KeyValuePair, 2> pairs{};
        pairs[0].key = {0, {4, reinterpret_cast<unsigned char*>(portName.data())}};
        pairs[1].key = {0, {7, reinterpret_cast<unsigned char*>(addressName.data())}};
        UA_Variant_setScalar(&pairs[0].value, &request_.port, &UA_TYPES[UA_TYPES_UINT16]);
        UA_Variant_setScalar(&pairs[1].value, &address, &UA_TYPES[UA_TYPES_STRING]);
        const UA_KeyValueMap params{pairs.size(), pairs.data()};
        const ClosedStreamsTaken meanwhile;
        status = sockets_.openConnection(&sockets_, &params, this, nullptr, onEvent);
    }
    return status;
}

UA_StatusCode GuardedConnection::send(const UA_ByteString& message,
                                      TransportClock::time_point deadline) {
    if (closing_) {
        return UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
    if (bool inClear = true; asksForChannel(message, inClear)) {
        stream_.setInClear(inClear);
    }
    if (sendAll(static_cast<int>(socket_), message, deadline)) {
        return UA_STATUSCODE_GOOD;
    }
    static_cast<void>(close());
    return UA_STATUSCODE_BADCONNECTIONCLOSED;
}

UA_StatusCode GuardedConnection::close() {
    closing_ = true;
    return sockets_.closeConnection(&sockets_, socket_);
}

TransportClock::time_point GuardedConnection::addressDue() const {
    const bool decided =
        established_ || closing_ || nextAddress_ == request_.addresses.size() || !announced_;
    return decided ? TransportClock::time_point::max() : addressDue_;
}

void GuardedConnection::giveAddressUp() {
    static_cast<void>(sockets_.closeConnection(&sockets_, socket_));
}

void GuardedConnection::onEvent(UA_ConnectionManager* /*sockets*/, std::uintptr_t socket,
                                void* application, void** /*context*/, UA_ConnectionState state,
                                const UA_KeyValueMap* params, UA_ByteString bytes) noexcept {
    auto& connection = *static_cast<GuardedConnection*>(application);
    switch (state) {
        case UA_CONNECTIONSTATE_OPENING:
            connection.opening(socket, params);
            break;
        case UA_CONNECTIONSTATE_ESTABLISHED:
            connection.established(params, bytes);
            break;
        default:
            connection.closed(params);
    }
}

void GuardedConnection::opening(std::uintptr_t socket, const UA_KeyValueMap* params) {
    socket_ = socket;
    // Programs that the host starts have no business with the session.
    fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC);
    if (!std::exchange(announced_, true)) {
        handOn(UA_CONNECTIONSTATE_OPENING, params, UA_BYTESTRING_NULL);
    }
}

void GuardedConnection::established(const UA_KeyValueMap* params, const UA_ByteString& bytes) {
    if (!std::exchange(established_, true)) {
        owner_.addressWorks(request_.addresses[nextAddress_ - 1]);
    }
    if (closing_) {
        return;
    }
    if (bytes.length != 0) {
        owner_.bytesArrived();
        const char* refusal = stream_.follow({bytes.data, bytes.length});
        if (refusal != nullptr) {
            UAC_WriteLogFile("Connection closed, the server sent %s", refusal);
            owner_.failed();
            static_cast<void>(close());
            return;
        }
    }
    handOn(UA_CONNECTIONSTATE_ESTABLISHED, params, bytes);
}

void GuardedConnection::closed(const UA_KeyValueMap* params) {
    if (!established_ && !closing_ && tryAddresses() == UA_STATUSCODE_GOOD) {
        return;
    }
    closing_ = true;
    if (!stream_.channelAnswered()) {
        owner_.failed();
    }
    handOn(UA_CONNECTIONSTATE_CLOSING, params, UA_BYTESTRING_NULL);
    owner_.ended(*this);
}

void GuardedConnection::handOn(UA_ConnectionState state, const UA_KeyValueMap* params,
                               const UA_ByteString& bytes) {
    request_.callback(&manager_, id_, request_.application, &request_.context, state, params,
                      bytes);
}

}  // namespace nimb
