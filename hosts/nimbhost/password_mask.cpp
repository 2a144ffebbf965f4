#include "nimbhost/password_mask.h"

#include <algorithm>

namespace nimb::standin {

namespace {

constexpr std::string_view kSeparators = " \t\r,";

/// The end of the value that begins at `at`; quotes and brackets hold separators of their own.
std::size_t endOfValue(std::string_view line, std::size_t at) noexcept {
    bool quoted = false;
    int depth = 0;
    for (; at < line.size(); ++at) {
        const char c = line[at];
        if (c == '\\' && quoted) {
            ++at;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (quoted) {
            continue;
        } else if (c == '[' || c == ']') {
            depth += c == '[' ? 1 : -1;
        } else if (depth == 0 && kSeparators.find(c) != std::string_view::npos) {
            break;
        }
    }
    return std::min(at, line.size());
}

}  // namespace

std::size_t passwordIn(std::string_view line) noexcept {
    constexpr std::string_view logIn = "zfConnectUser";
    const std::size_t entry = line.find(logIn);
    if (entry == std::string_view::npos) return line.size();
    std::size_t at = entry + logIn.size();
    constexpr int before = 3;  // handle, URL, user
    for (int value = 0; value <= before; ++value) {
        at = std::min(line.find_first_not_of(kSeparators, at), line.size());
        if (value < before) at = endOfValue(line, at);
    }
    return at;
}

std::string withoutPassword(std::string_view line) {
    const std::size_t password = passwordIn(line);
    return std::string(line.substr(0, password)) + (password < line.size() ? "***" : "");
}

}  // namespace nimb::standin
