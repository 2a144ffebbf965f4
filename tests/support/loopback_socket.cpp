#include "support/loopback_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace nimb::test {

namespace {

[[noreturn]] void fail(const char* step) {
    throw std::system_error(errno, std::generic_category(), step);
}

}  // namespace

LoopbackSocket::LoopbackSocket() : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (descriptor_ < 0) fail("socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    if (bind(descriptor_, generic, length) != 0 ||
        getsockname(descriptor_, generic, &length) != 0) {
        const int error = errno;
        close(descriptor_);
        throw std::system_error(error, std::generic_category(), "bind");
    }
    port_ = ntohs(address.sin_port);
}

LoopbackSocket::~LoopbackSocket() { close(descriptor_); }

SilentListener::SilentListener() {
    // The system completes connections up to the backlog by itself; nobody ever accepts them.
    constexpr int backlog = 64;
    if (listen(descriptor(), backlog) != 0) fail("listen");
}

}  // namespace nimb::test
