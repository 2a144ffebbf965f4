#include "client/addresses.h"

#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <memory>

#include "errors/log_file.h"

namespace nimb {

namespace {

constexpr std::size_t kMostAddresses = 8;

struct AddressListDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

}  // namespace

std::vector<std::string> addressesOf(const std::string& host, std::uint16_t port) {
    addrinfo wanted{};
    wanted.ai_family = AF_UNSPEC;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
    if (error != 0) {
        UAC_WriteLogFile("No address for '%s': %s", host.c_str(), gai_strerror(error));
        return {};
    }
    const std::unique_ptr<addrinfo, AddressListDeleter> list(found);
    std::vector<std::string> addresses;
    std::array<char, NI_MAXHOST> text{};
    for (; found != nullptr && addresses.size() < kMostAddresses; found = found->ai_next) {
        if (getnameinfo(found->ai_addr, found->ai_addrlen, text.data(), text.size(), nullptr, 0,
                        NI_NUMERICHOST) == 0) {
            addresses.emplace_back(text.data());
        }
    }
    return addresses;
}

}  // namespace nimb
