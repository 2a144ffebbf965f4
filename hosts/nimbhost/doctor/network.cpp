// The way to the server: name, address, port.

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>

#include "nimbhost/doctor/examination.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/url.h"

namespace nimb::nimbhost {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct AddressRelease {
    void operator()(addrinfo* list) const noexcept { ::freeaddrinfo(list); }
};

milliseconds since(Clock::time_point begin) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

std::string textOf(const addrinfo& address) {
    std::array<char, NI_MAXHOST> text{};
    ::getnameinfo(address.ai_addr, address.ai_addrlen, text.data(), text.size(), nullptr, 0,
                  NI_NUMERICHOST);
    return text.data();
}

/// 0 when the port opens in time, else why not.
int openPort(const addrinfo& address, milliseconds timeout) {
    const int socket = ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket < 0) return errno;
    int error = ::connect(socket, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
        pollfd waiting{socket, POLLOUT, 0};
        socklen_t size = sizeof error;
        const int ready = ::poll(&waiting, 1, static_cast<int>(timeout.count()));
        error = ETIMEDOUT;
        if (ready == 1) ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size);
    }
    ::close(socket);
    return error;
}

}  // namespace

bool Examination::examineNetwork() {
    const std::optional<HostAndPort> target = hostAndPort(plant_.url);
    if (!target) {
        fail("the URL is not opc.tcp://HOST:PORT: " + plant_.url, "the URL");
        return false;
    }
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const auto asked = Clock::now();
    const int failure = ::getaddrinfo(target->host.c_str(), target->port.c_str(), &hints, &found);
    const std::unique_ptr<addrinfo, AddressRelease> addresses(found);
    if (failure != 0) {
        fail("the host name cannot be resolved: " + target->host + " (" + ::gai_strerror(failure) +
                 ')',
             "the name, or its address in numbers");
        return false;
    }
    const std::string address = textOf(*addresses);
    const std::string name = address == target->host ? address
                                                     : target->host + " is " + address + " (" +
                                                           durationText(since(asked)) + ')';
    const auto begun = Clock::now();
    // The stack tries the first address only.
    const int error = openPort(*addresses, milliseconds(plant_.timeout));
    if (error == ETIMEDOUT) {
        fail(name + ", port " + target->port + ": nobody answers within " +
                 durationText(milliseconds(plant_.timeout)),
             "address, firewall, server");
    } else if (error != 0) {
        fail(name + ", nothing listens on port " + target->port + " (" + std::strerror(error) + ')',
             "address, port, firewall, server");
    } else {
        ok(name + ", port " + target->port + " opens (" + durationText(since(begun)) + ')');
    }
    return error == 0;
}

}  // namespace nimb::nimbhost
