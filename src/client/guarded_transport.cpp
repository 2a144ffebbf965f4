#include "client/guarded_transport.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <utility>

#include "client/addresses.h"
#include "errors/log_file.h"

namespace nimb {

namespace {

using std::chrono::milliseconds;

/// What the stack may take beyond the timeout to end a call by itself.
constexpr milliseconds kSlack{100};
/// A connect opens one connection to discover the server and one for the session; a server whose
/// discovery is elsewhere costs one more each.
constexpr int kMostConnectionsPerCall = 4;

std::array<unsigned char, 3> tcp{'t', 'c', 'p'};
/// The stack's own manager under a name that the stack does not look for.
std::array<unsigned char, 7> sockets{'s', 'o', 'c', 'k', 'e', 't', 's'};

UA_ConnectionManager* managerOfSockets(const UA_EventLoop& loop) {
    const UA_String wanted{tcp.size(), tcp.data()};
    for (UA_EventSource* source = loop.eventSources; source != nullptr; source = source->next) {
        if (source->eventSourceType != UA_EVENTSOURCETYPE_CONNECTIONMANAGER) {
            continue;
        }
        auto* manager = reinterpret_cast<UA_ConnectionManager*>(source);  // its first member
        if (UA_String_equal(&manager->protocol, &wanted)) {
            return manager;
        }
    }
    return nullptr;
}

template <typename T>
const T* scalar(const UA_KeyValueMap& params, const char* name, std::size_t type) {
    std::string bytes(name);
    const UA_QualifiedName key{0, {bytes.size(), reinterpret_cast<unsigned char*>(bytes.data())}};
    return static_cast<const T*>(UA_KeyValueMap_getScalar(&params, key, &UA_TYPES[type]));
}

}  // namespace

GuardedTransport::GuardedTransport(UA_EventLoop& loop, UA_ConnectionManager& stackSockets)
    : UA_ConnectionManager{}, sockets_(stackSockets), run_(loop.run) {
    fillSlots();
}

UA_StatusCode GuardedTransport::install(UA_ClientConfig& config) {
    UA_EventLoop* loop = config.eventLoop;
    UA_ConnectionManager* stackSockets = loop == nullptr ? nullptr : managerOfSockets(*loop);
    if (stackSockets == nullptr) {
        return UA_STATUSCODE_BADINTERNALERROR;
    }
    auto* guard = new GuardedTransport(*loop, *stackSockets);
    if (const UA_StatusCode status = loop->registerEventSource(loop, &guard->eventSource);
        status != UA_STATUSCODE_GOOD) {
        delete guard;
        return status;
    }
    stackSockets->protocol = {sockets.size(), sockets.data()};
    loop->run = [](UA_EventLoop* driven, UA_UInt32 timeout) {
        return of(driven)->runLoop(driven, timeout);
    };
    config.localConnectionConfig.localMaxMessageSize = ChunkStream::kLargestMessage;
    config.localConnectionConfig.localMaxChunkCount = ChunkStream::kMostChunks;
    return DecryptedMessages::watch(config);
}

/// As an event source it has nothing to start and nothing to wait for. It is the event loop's from
/// the registration on.
void GuardedTransport::fillSlots() {
    protocol = {tcp.size(), tcp.data()};
    eventSource.eventSourceType = UA_EVENTSOURCETYPE_CONNECTIONMANAGER;
    eventSource.start = [](UA_EventSource* source) -> UA_StatusCode {
        source->state = UA_EVENTSOURCESTATE_STARTED;
        return UA_STATUSCODE_GOOD;
    };
    eventSource.stop = [](UA_EventSource* source) { source->state = UA_EVENTSOURCESTATE_STOPPED; };
    eventSource.free = [](UA_EventSource* source) -> UA_StatusCode {
        delete &self(reinterpret_cast<UA_ConnectionManager*>(source));
        return UA_STATUSCODE_GOOD;
    };
    openConnection = [](UA_ConnectionManager* manager, const UA_KeyValueMap* params,
                        void* application, void* context,
                        UA_ConnectionManager_connectionCallback callback) noexcept {
        try {
            return self(manager).open(*params, {{}, 0, application, context, callback});
        } catch (const std::bad_alloc&) {
            return UA_StatusCode{UA_STATUSCODE_BADOUTOFMEMORY};
        }
    };
    sendWithConnection = [](UA_ConnectionManager* manager, std::uintptr_t id,
                            const UA_KeyValueMap* /*params*/, UA_ByteString* message) noexcept {
        GuardedTransport& guard = self(manager);
        ++guard.sentMessages_;
        GuardedConnection* connection = guard.find(id);
        const UA_StatusCode status = connection == nullptr
                                         ? UA_StatusCode{UA_STATUSCODE_BADCONNECTIONCLOSED}
                                         : connection->send(*message, guard.call_.deadline);
        guard.sockets_.freeNetworkBuffer(&guard.sockets_, id, message);
        return status;
    };
    closeConnection = [](UA_ConnectionManager* manager, std::uintptr_t id) {
        GuardedConnection* connection = self(manager).find(id);
        return connection == nullptr ? UA_StatusCode{UA_STATUSCODE_BADNOTFOUND}
                                     : connection->close();
    };
    // The stack's buffers do not depend on the connection.
    allocNetworkBuffer = [](UA_ConnectionManager* manager, std::uintptr_t id, UA_ByteString* buffer,
                            std::size_t size) {
        UA_ConnectionManager& inner = self(manager).sockets_;
        return inner.allocNetworkBuffer(&inner, id, buffer, size);
    };
    freeNetworkBuffer = [](UA_ConnectionManager* manager, std::uintptr_t id,
                           UA_ByteString* buffer) {
        UA_ConnectionManager& inner = self(manager).sockets_;
        inner.freeNetworkBuffer(&inner, id, buffer);
    };
}

/// The last source that was registered stands first.
GuardedTransport* GuardedTransport::of(UA_EventLoop* loop) {
    for (UA_EventSource* source = loop->eventSources; source != nullptr; source = source->next) {
        auto* manager = reinterpret_cast<UA_ConnectionManager*>(source);
        if (source->eventSourceType == UA_EVENTSOURCETYPE_CONNECTIONMANAGER &&
            manager->protocol.data == tcp.data()) {
            return &self(manager);
        }
    }
    return nullptr;
}

GuardedTransport* GuardedTransport::of(UA_Client* client) {
    const UA_ClientConfig* config = client == nullptr ? nullptr : UA_Client_getConfig(client);
    return config == nullptr || config->eventLoop == nullptr ? nullptr : of(config->eventLoop);
}

/// After a request that nothing was heard of until its timeout the good-bye is sent, but not waited
/// for: it would cost one timeout more. The flag ends with the first byte that arrives.
void GuardedTransport::begin(Use use, UA_UInt32 timeout, TransportClock::time_point now) {
    const bool inVain = use == Use::goodBye && lastRequestTimedOut_;
    call_ = {use, true, true, use != Use::goodBye, false, 0, now, now, now};
    if (!inVain) {
        call_.deadline += milliseconds(timeout);
        call_.end = call_.deadline + kSlack;
    }
    host_.clear();
}

void GuardedTransport::end() {
    call_.going = false;
    if (call_.use == Use::request && !call_.heard && TransportClock::now() >= call_.deadline) {
        lastRequestTimedOut_ = true;
    }
}

/// One attempt to connect: once a connection of this call has failed, the stack gets no other. It
/// would try again without pause until the timeout.
UA_StatusCode GuardedTransport::open(const UA_KeyValueMap& params, ConnectionRequest request) {
    const auto* host = scalar<UA_String>(params, "address", UA_TYPES_STRING);
    const auto* port = scalar<UA_UInt16>(params, "port", UA_TYPES_UINT16);
    if (host == nullptr || port == nullptr) {
        return UA_STATUSCODE_BADINVALIDARGUMENT;
    }
    const auto now = TransportClock::now();
    if (!call_.mayOpen || overdue(now) || ++call_.opened > kMostConnectionsPerCall) {
        return UA_STATUSCODE_BADCONNECTIONREJECTED;
    }
    call_.mayOpen = false;  // unless this one comes about
    const std::string name(reinterpret_cast<const char*>(host->data), host->length);
    if (name != host_) {
        addresses_ = addressesOf(name, *port);
        host_ = name;
    }
    request.addresses = addresses_;
    request.port = *port;
    ConnectionOwner& owner = *this;
    UA_ConnectionManager& manager = *this;
    GuardedConnection& connection = *connections_.emplace_back(std::make_unique<GuardedConnection>(
        owner, manager, sockets_, ++lastId_, std::move(request)));
    const UA_StatusCode status = connection.open(std::max(call_.deadline, now));
    if (status != UA_STATUSCODE_GOOD) {
        ended(connection);
        return status;
    }
    call_.mayOpen = true;
    return status;
}

/// errno first: recv leaves it alone when the peer has closed, and open62541 1.4.11 then takes
/// EINTR or EAGAIN, left behind by whatever the host did before, for "try again".
UA_StatusCode GuardedTransport::runLoop(UA_EventLoop* loop, UA_UInt32 timeout) {
    // A loop that is stopped without a connection has nothing to wait for, but would.
    const bool done = loop->state == UA_EVENTLOOPSTATE_STOPPING && connections_.empty();
    timeout = done ? 0 : boundedWait(timeout);
    const DecryptedMessages::Reading reading(encryptedMessages());
    errno = 0;
    return run_(loop, timeout);
}

/// @return those of the connection in use that is encrypted, or null
DecryptedMessages* GuardedTransport::encryptedMessages() const {
    DecryptedMessages* messages = nullptr;
    for (const auto& connection : connections_) {
        if (!connection->closing() && connection->decrypted() != nullptr) {
            messages = connection->decrypted();
        }
    }
    return messages;
}

/// @return how long the event loop may wait, in milliseconds
UA_UInt32 GuardedTransport::boundedWait(UA_UInt32 timeout) {
    // The clock once a call, as long as one run of the loop is enough.
    const auto now = std::exchange(call_.begun, false) ? call_.begin : TransportClock::now();
    if (overdue(now)) {
        closeAll();
    }
    auto due = call_.going ? call_.end : TransportClock::time_point::max();
    bool onlyClosing = !connections_.empty();
    for (const auto& connection : connections_) {
        const auto addressDue = connection->addressDue();
        if (addressDue <= now) {
            connection->giveAddressUp();
            return 0;
        }
        due = std::min(due, addressDue);
        onlyClosing = onlyClosing && connection->closing();
    }
    // Closed sockets are cleared away before the loop waits: there is nothing to wait for.
    if (onlyClosing || due <= now) {
        return 0;
    }
    if (due == TransportClock::time_point::max()) {
        return timeout;
    }
    const auto left = std::chrono::ceil<milliseconds>(due - now).count();
    return static_cast<UA_UInt32>(std::min<std::int64_t>(timeout, left));
}

bool GuardedTransport::overdue(TransportClock::time_point now) const {
    return call_.going && now >= call_.end;
}

void GuardedTransport::closeAll() {
    for (const auto& connection : connections_) {
        if (!connection->closing()) {
            static_cast<void>(connection->close());
        }
    }
}

GuardedConnection* GuardedTransport::find(std::uintptr_t id) const {
    for (const auto& connection : connections_) {
        if (connection->id() == id) {
            return connection.get();
        }
    }
    return nullptr;
}

void GuardedTransport::addressWorks(const std::string& address) {
    const auto found = std::find(addresses_.begin(), addresses_.end(), address);
    std::rotate(addresses_.begin(), found, found == addresses_.end() ? found : found + 1);
}

/// The stack learns of the end of a connection within a round of its loop. That round would then
/// wait for what no longer comes, a whole timeout; it does not while a callback is waiting, which
/// the loop owns and calls at the latest when it is freed.
void GuardedTransport::endRound() {
    auto* wakeUp = new (std::nothrow) UA_DelayedCallback{};
    if (wakeUp == nullptr) {
        return;
    }
    wakeUp->callback = [](void* /*application*/, void* self) {
        delete static_cast<UA_DelayedCallback*>(self);
    };
    wakeUp->context = wakeUp;
    UA_EventLoop* loop = eventSource.eventLoop;
    loop->addDelayedCallback(loop, wakeUp);
}

/// Before `ended`, the stack has been told and may have opened the next connection.
void GuardedTransport::ended(GuardedConnection& connection) {
    std::erase_if(connections_, [&](const auto& other) { return other.get() == &connection; });
    if (call_.going && connections_.empty()) {
        endRound();
    }
}

}  // namespace nimb
