#include "hostile_server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace nimb::fuzz {

namespace {

/// The binary protocol: a message is a type of three letters, a letter and its length in 32 bits;
/// behind the channel come (OPN: three strings; else: the token) sequence number and request id,
/// then the type of the body as a node id of four bytes.
constexpr std::size_t kHeader = 8;
constexpr std::size_t kChannelHeader = 12;
constexpr std::size_t kSequenceHeader = 8;
constexpr std::size_t kBodyType = 4;
constexpr std::size_t kTimestamp = 8;
constexpr std::size_t kLargestMessage = 1 << 20;
constexpr std::uint16_t kPublishRequest = 826;
constexpr std::uint16_t kCreateItemsResponse = 754;
constexpr std::uint16_t kFromRequestToResponse = 3;

template <typename T>
T numberAt(const std::string& bytes, std::size_t at) {
    T number{};
    if (at <= bytes.size() && sizeof number <= bytes.size() - at) {
        std::memcpy(&number, bytes.data() + at, sizeof number);
    }
    return number;
}

void put(std::string& bytes, std::size_t at, std::uint32_t number) {
    if (at <= bytes.size() && sizeof number <= bytes.size() - at) {
        std::memcpy(bytes.data() + at, &number, sizeof number);
    }
}

/// Past a string with its length in front; a null string has the length -1.
std::size_t behindString(const std::string& bytes, std::size_t at) {
    const auto length = numberAt<std::int32_t>(bytes, at);
    return at + sizeof length + (length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::size_t sequenceHeaderOf(const std::string& message) {
    std::size_t at = kChannelHeader;
    if (!message.starts_with("OPN")) {
        return at + sizeof(std::uint32_t);
    }
    for (int i = 0; i < 3; ++i) {
        at = behindString(message, at);
    }
    return at;
}

std::uint16_t bodyTypeOf(const std::string& message) {
    return numberAt<std::uint16_t>(message, sequenceHeaderOf(message) + kSequenceHeader + 2);
}

/// The handle stands behind the authentication token, a node id of any form, and the time.
std::uint32_t requestHandleOf(const std::string& request) {
    std::size_t at = sequenceHeaderOf(request) + kSequenceHeader + kBodyType;
    switch (numberAt<std::uint8_t>(request, at)) {
        case 0:
            at += 2;
            break;
        case 1:
            at += 4;
            break;
        case 2:
            at += 7;
            break;
        case 4:
            at += 19;
            break;
        default:
            at = behindString(request, at + 3);
    }
    return numberAt<std::uint32_t>(request, at + kTimestamp);
}

std::vector<std::string> split(std::span<const std::uint8_t> bytes) {
    std::vector<std::string> messages;
    while (!bytes.empty()) {
        std::size_t length = bytes.size();
        if (bytes.size() >= kHeader) {
            std::uint32_t stated = 0;
            std::memcpy(&stated, bytes.data() + 4, sizeof stated);
            if (stated >= kHeader && stated < length) {
                length = stated;
            }
        }
        messages.emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        bytes = bytes.subspan(length);
    }
    return messages;
}

/// Endpoint addresses in the replies name the port that was recorded: five digits, as all free
/// ports have. A server also names its port 0.
void replacePort(std::string& bytes, std::uint16_t port) {
    constexpr std::string_view address = "opc.tcp://127.0.0.1:";
    const std::string digits = std::to_string(port);
    for (std::size_t at = bytes.find(address); at != std::string::npos;
         at = bytes.find(address, at + 1)) {
        const std::size_t recorded = at + address.size();
        if (bytes.find_first_not_of("0123456789", recorded) >= recorded + digits.size() &&
            recorded + digits.size() <= bytes.size()) {
            bytes.replace(recorded, digits.size(), digits);
        }
    }
}

}  // namespace

HostileServer::HostileServer(std::span<const std::uint8_t> replies, Framing framing,
                             std::vector<Damage> damages)
    : framing_(framing),
      replies_(split(replies)),
      damages_(std::move(damages)),
      wake_(eventfd(0, EFD_CLOEXEC)) {
    listener_.listen();
    thread_ = std::thread([this] { serve(); });
}

HostileServer::~HostileServer() {
    eventfd_write(wake_.get(), 1);
    thread_.join();
}

void HostileServer::serve() {
    while (true) {
        pollfd awaited[] = {{listener_.descriptor(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        poll(awaited, 2, -1);
        if (awaited[1].revents != 0) {
            return;
        }
        const test::Descriptor connection(
            accept4(listener_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!finished_) {
            converse(connection.get());
        }
        finished_ = true;
        // A reset: nothing of the connection is left behind to use up ports.
        test::resetOnClose(connection.get());
    }
}

void HostileServer::converse(int connection) {
    test::sendAtOnce(connection);
    std::string received;
    char bytes[4096];
    while (true) {
        pollfd awaited[] = {{connection, POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        poll(awaited, 2, -1);
        const ssize_t count =
            awaited[1].revents != 0 ? 0 : recv(connection, bytes, sizeof bytes, 0);
        if (awaited[1].revents != 0) {
            eventfd_write(wake_.get(), 1);  // for serve() too
        }
        if (count <= 0) {
            return;
        }
        received.append(bytes, static_cast<std::size_t>(count));
        while (received.size() >= kHeader) {
            const std::size_t length = numberAt<std::uint32_t>(received, 4);
            if (length < kHeader || length > kLargestMessage || length > received.size()) {
                break;
            }
            if (!answer(connection, received.substr(0, length))) {
                return;
            }
            received.erase(0, length);
        }
    }
}

bool HostileServer::answer(int connection, const std::string& request) {
    if (request.starts_with("CLO")) {
        return false;
    }
    if (framing_ == Framing::kept && bodyTypeOf(request) == kPublishRequest && itemsAwaited()) {
        heldBack_.push_back(request);
        return true;
    }
    std::string reply;
    if (framing_ == Framing::stream) {
        for (const std::string& message : replies_) {
            reply += message;
        }
        replies_.clear();
    } else {
        reply = takeReplyTo(request);
    }
    if (!reply.empty()) {
        return deliver(connection, reply) && answerHeldBack(connection);
    }
    const bool waits = framing_ == Framing::stream || bodyTypeOf(request) == kPublishRequest;
    return waits || !replies_.empty();
}

/// Values that arrive before their items are known would be dropped unseen.
bool HostileServer::itemsAwaited() const {
    return std::any_of(replies_.begin(), replies_.end(), [](const std::string& reply) {
        return reply.starts_with("MSG") && bodyTypeOf(reply) == kCreateItemsResponse;
    });
}

bool HostileServer::answerHeldBack(int connection) {
    if (itemsAwaited()) {
        return true;
    }
    const auto requests = std::exchange(heldBack_, {});
    return std::all_of(requests.begin(), requests.end(), [&](const std::string& request) {
        const std::string reply = takeReplyTo(request);
        return reply.empty() || deliver(connection, reply);
    });
}

bool HostileServer::deliver(int connection, const std::string& reply) {
    std::vector<std::string> runs{reply};
    for (const Damage& damage : damages_) {
        if (damage.reply == delivered_ && !runs.front().empty()) {
            auto parts = damaged(runs.front(), damage);
            runs.erase(runs.begin());
            runs.insert(runs.begin(), parts.begin(), parts.end());
        }
    }
    ++delivered_;
    return std::all_of(runs.begin(), runs.end(), [&](const std::string& run) {
        return send(connection, run.data(), run.size(), MSG_NOSIGNAL) >= 0;
    });
}

/// The server's answer to that service while there is one; a publish request waits for its own.
std::string HostileServer::takeReplyTo(const std::string& request) {
    auto found = replies_.begin();
    if (framing_ == Framing::kept && request.starts_with("MSG")) {
        const std::uint16_t type = bodyTypeOf(request);
        while (found != replies_.end() && bodyTypeOf(*found) != type + kFromRequestToResponse) {
            ++found;
        }
        if (found == replies_.end() && type != kPublishRequest) {
            found = replies_.begin();
        }
    }
    if (found == replies_.end()) {
        return {};
    }
    std::string reply = std::move(*found);
    replies_.erase(found);
    if (framing_ == Framing::kept) {
        putRight(reply, request);
    }
    return reply;
}

void HostileServer::putRight(std::string& reply, const std::string& request) {
    put(reply, 4, static_cast<std::uint32_t>(reply.size()));
    replacePort(reply, listener_.port());
    if (!reply.starts_with("OPN") && !reply.starts_with("MSG")) {
        return;
    }
    const std::size_t at = sequenceHeaderOf(reply);
    put(reply, at, ++sequenceNumber_);
    put(reply, at + 4, numberAt<std::uint32_t>(request, sequenceHeaderOf(request) + 4));
    put(reply, at + kSequenceHeader + kBodyType + kTimestamp, requestHandleOf(request));
}

}  // namespace nimb::fuzz
