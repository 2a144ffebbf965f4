#include "support/fault_proxy.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <vector>

namespace nimb::test {

namespace {

constexpr std::size_t largestRun = 65536;

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int newSocket(int flags) { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); }

// Closing then sends a reset instead of an orderly end.
void armReset(int descriptor) {
    const linger atOnce{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

// Each byte is a segment of its own, and none waits for its fellows.
void sendAtOnce(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool ends(Fault fault) { return fault == Fault::cut || fault == Fault::reset; }

}  // namespace

FaultProxy::FaultProxy(std::uint16_t server)
    : server_(server), listener_(newSocket(SOCK_NONBLOCK)), wake_(eventfd(0, EFD_CLOEXEC)) {
    sockaddr_in address = loopback(0);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    constexpr int backlog = 64;
    if (listener_.get() < 0 || wake_.get() < 0 || bind(listener_.get(), generic, length) != 0 ||
        getsockname(listener_.get(), generic, &length) != 0 ||
        listen(listener_.get(), backlog) != 0) {
        throw std::system_error(errno, std::generic_category(), "fault proxy");
    }
    // Small, so that a client soon notices that nobody reads.
    const int room = 1 << 16;
    setsockopt(listener_.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

FaultProxy::~FaultProxy() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    eventfd_write(wake_.get(), 1);
    thread_.join();
}

void FaultProxy::set(Fault fault) {
    std::unique_lock lock(mutex_);
    wanted_ = fault;
    eventfd_write(wake_.get(), 1);
    applied_.wait(lock, [&] { return inEffect_ == fault; });
}

void FaultProxy::serve() {
    while (true) {
        Fault fault{};
        {
            const std::lock_guard lock(mutex_);
            if (stopping_) return;
            fault = wanted_;
        }
        if (ends(fault)) endAll(fault);
        {
            const std::lock_guard lock(mutex_);
            inEffect_ = fault;
        }
        applied_.notify_all();
        wait(fault);
        if (fault == Fault::freeze) continue;
        accept(fault);
        connections_.remove_if([&](Connection& c) { return !relay(c, fault); });
    }
}

// Sleeps until there is something to do. A freeze looks at nothing but the next fault.
void FaultProxy::wait(Fault fault) {
    std::vector<pollfd> awaited{{wake_.get(), POLLIN, 0}};
    if (fault != Fault::freeze) awaited.push_back({listener_.get(), POLLIN, 0});
    if (fault == Fault::none || fault == Fault::halfOpen) {
        for (const Connection& connection : connections_) {
            awaited.push_back({connection.client.get(), POLLIN, 0});
            awaited.push_back({connection.server.get(), POLLIN, 0});
        }
    }
    const bool ticks = fault == Fault::slow && !connections_.empty();
    poll(awaited.data(), awaited.size(), ticks ? slowness : -1);
    eventfd_t ignored = 0;
    if (awaited[0].revents != 0) eventfd_read(wake_.get(), &ignored);
}

void FaultProxy::accept(Fault fault) {
    const int client = accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    ++connectionsSeen_;
    sendAtOnce(client);
    if (fault == Fault::reset) armReset(client);
    Connection& connection = connections_.emplace_back(client, newSocket(0));
    const sockaddr_in address = loopback(server_);
    if (ends(fault) || connect(connection.server.get(), reinterpret_cast<const sockaddr*>(&address),
                               sizeof address) != 0) {
        connections_.pop_back();
        return;
    }
    sendAtOnce(connection.server.get());
}

void FaultProxy::endAll(Fault fault) {
    for (const Connection& connection : connections_) {
        if (fault == Fault::reset) {
            armReset(connection.client.get());
            armReset(connection.server.get());
        }
    }
    connections_.clear();
}

// False when one end has gone; the other then goes too.
bool FaultProxy::relay(Connection& connection, Fault fault) const {
    return pump(connection.request, fault) && pump(connection.reply, fault);
}

bool FaultProxy::pump(Stream& stream, Fault fault) const {
    std::array<char, largestRun> bytes;
    const ssize_t count = recv(stream.from, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && errno != EAGAIN)) return false;
    if (stream.isReply && fault == Fault::halfOpen) return true;
    if (count > 0) {
        std::string run(bytes.data(), static_cast<std::size_t>(count));
        if (stream.isReply && onReply) onReply(run);
        stream.waiting += run;
    }
    const std::size_t held = stream.waiting.size();
    const std::size_t passing = fault == Fault::slow ? std::min<std::size_t>(held, 1) : held;
    const ssize_t sent = send(stream.to, stream.waiting.data(), passing, MSG_NOSIGNAL);
    if (sent < 0) return false;
    stream.waiting.erase(0, static_cast<std::size_t>(sent));
    return true;
}

}  // namespace nimb::test
