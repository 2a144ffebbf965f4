#include "client/certificate_names.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>

namespace nimb {

namespace {

constexpr unsigned char kDns = der_tag::context(2);
constexpr unsigned char kUri = der_tag::context(6);
constexpr unsigned char kIp = der_tag::context(7);

constexpr std::size_t kMaxText = 300;

std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Host names are compared in ASCII, whatever the process's locale.
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameText(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lower, lower);
}

std::string_view withoutFinalDot(std::string_view name) {
    if (name.ends_with('.')) {
        name.remove_suffix(1);
    }
    return name;
}

/// An address as certificates hold it: 4 or 16 bytes, or none.
struct Address {
    explicit Address(std::string_view host) {
        const std::string text(host);
        if (inet_pton(AF_INET, text.c_str(), bytes.data()) == 1) {
            size = sizeof(in_addr);
        } else if (inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1) {
            size = sizeof(in6_addr);
        }
    }
    [[nodiscard]] Bytes view() const { return Bytes(bytes).first(size); }

    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    std::size_t size = 0;
};

bool isLoopback(Bytes address) {
    return address.size() == sizeof(in_addr)
               ? address[0] == 127
               : address.size() == sizeof(in6_addr) &&
                     std::ranges::equal(address, Bytes(in6addr_loopback.s6_addr));
}

bool isLocalhost(std::string_view name) { return sameText(name, "localhost"); }

bool matchesName(std::string_view pattern, std::string_view host) {
    if (sameText(pattern, host)) {
        return true;
    }
    const std::size_t label = host.find('.');
    // "*.com" would stand for half the world.
    return pattern.starts_with("*.") && label != std::string_view::npos && label != 0 &&
           pattern.find('.', 2) != std::string_view::npos &&
           sameText(pattern.substr(1), host.substr(label));
}

char printable(unsigned char c) { return c >= ' ' && c <= '~' ? static_cast<char>(c) : '?'; }

std::string addressText(Bytes address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = address.size() == sizeof(in_addr) ? AF_INET : AF_INET6;
    if (address.size() != sizeof(in_addr) && address.size() != sizeof(in6_addr)) {
        return "?";
    }
    return inet_ntop(family, address.data(), text.data(), text.size());
}

}  // namespace

bool CertificateNames::application(std::string_view uri) const {
    DerReader names(list_);
    while (const auto name = names.next()) {
        if (name->tag == kUri && textOf(name->content) == uri && !uri.empty()) {
            return true;
        }
    }
    return false;
}

bool CertificateNames::host(std::string_view host) const {
    const std::string_view wanted = withoutFinalDot(host);
    const Address address(wanted);
    const bool here = isLoopback(address.view()) || isLocalhost(wanted);
    DerReader names(list_);
    while (const auto name = names.next()) {
        const Bytes content = name->content;
        if (name->tag == kIp) {
            if ((address.size != 0 && std::ranges::equal(content, address.view())) ||
                (here && isLoopback(content))) {
                return true;
            }
        } else if (name->tag == kDns && !wanted.empty()) {
            // Many servers write their address as a name; wildcards stand for names alone.
            const std::string_view pattern = withoutFinalDot(textOf(content));
            if ((address.size == 0 ? matchesName(pattern, wanted) : sameText(pattern, wanted)) ||
                (here && isLocalhost(pattern))) {
                return true;
            }
        }
    }
    return false;
}

std::string CertificateNames::text() const {
    std::string text;
    DerReader names(list_);
    for (auto name = names.next(); name && text.size() < kMaxText; name = names.next()) {
        const bool ip = name->tag == kIp;
        if (!ip && name->tag != kDns && name->tag != kUri) {
            continue;
        }
        text += text.empty() ? "" : ", ";
        text += ip ? "IP:" : name->tag == kDns ? "DNS:" : "URI:";
        if (ip) {
            text += addressText(name->content);
        } else {
            const Bytes start = name->content.first(std::min(name->content.size(), kMaxText));
            std::ranges::transform(start, std::back_inserter(text), printable);
        }
    }
    return text.empty() ? "no one" : text;
}

}  // namespace nimb
