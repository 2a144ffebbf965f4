#include "testbed/loopback_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace nimb::test {

namespace {

void require(bool done, const char* step) {
    if (!done) throw std::system_error(errno, std::generic_category(), step);
}

sockaddr_in loopback(std::uint16_t port) noexcept {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

}  // namespace

LoopbackSocket::LoopbackSocket(int flags)
    : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0)) {
    require(descriptor() >= 0, "socket");
    sockaddr_in address = loopback(0);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    require(bind(descriptor(), generic, length) == 0, "bind");
    require(getsockname(descriptor(), generic, &length) == 0, "getsockname");
    port_ = ntohs(address.sin_port);
}

void LoopbackSocket::listen() const {
    constexpr int backlog = 64;
    require(::listen(descriptor(), backlog) == 0, "listen");
}

Descriptor connectTo(std::uint16_t port) noexcept {
    Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    if (connect(connection.get(), generic, sizeof address) != 0) connection.reset();
    return connection;
}

void resetOnClose(int connection) noexcept {
    const linger atOnce{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void sendAtOnce(int connection) noexcept {
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace nimb::test
