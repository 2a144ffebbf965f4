#include "nimbhost/plant/url.h"

#include <regex>

namespace nimb::nimbhost {

std::optional<HostAndPort> hostAndPort(const std::string& url) {
    static const std::regex form(
        R"(opc\.tcp://(?:\[([0-9A-Fa-f:.%]+)\]|([^/:\[\]]+))(?::(\d{1,5}))?(?:/.*)?)");
    std::smatch parts;
    if (!std::regex_match(url, parts, form)) return std::nullopt;
    return HostAndPort{parts[1].matched ? parts[1] : parts[2],
                       parts[3].matched ? parts[3].str() : "4840"};
}

}  // namespace nimb::nimbhost
