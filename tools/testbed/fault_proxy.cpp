#include "testbed/fault_proxy.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

namespace nimb::test {

namespace {

constexpr std::size_t largestRun = 65536;

bool ends(Fault fault) { return fault == Fault::cut || fault == Fault::reset; }

}  // namespace

FaultProxy::FaultProxy(std::uint16_t server)
    : server_(server), listener_(SOCK_NONBLOCK), wake_(eventfd(0, EFD_CLOEXEC)) {
    if (wake_.get() < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    // Small, so that a client soon notices that nobody reads.
    const int room = 1 << 16;
    setsockopt(listener_.descriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    listener_.listen();
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

/// Sleeps until there is something to do. A freeze looks at nothing but the next fault.
void FaultProxy::wait(Fault fault) {
    std::vector<pollfd> awaited{{wake_.get(), POLLIN, 0}};
    if (fault != Fault::freeze) awaited.push_back({listener_.descriptor(), POLLIN, 0});
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
    Descriptor client(accept4(listener_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.get() < 0) return;
    ++connectionsSeen_;
    sendAtOnce(client.get());
    if (fault == Fault::reset) resetOnClose(client.get());
    Descriptor server = ends(fault) ? Descriptor() : connectTo(server_);
    if (server.get() < 0) return;
    sendAtOnce(server.get());
    connections_.emplace_back(std::move(client), std::move(server));
}

void FaultProxy::endAll(Fault fault) {
    for (const Connection& connection : connections_) {
        if (fault == Fault::reset) {
            resetOnClose(connection.client.get());
            resetOnClose(connection.server.get());
        }
    }
    connections_.clear();
}

/// False when one end has gone; the other then goes too.
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
