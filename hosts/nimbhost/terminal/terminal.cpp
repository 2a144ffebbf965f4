#include "nimbhost/terminal/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace nimb::nimbhost {

namespace {

winsize sizeOfTerminal() noexcept {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) size = {};
    return size;
}

bool isDumb() noexcept {
    const char* kind = std::getenv("TERM");
    return kind == nullptr || *kind == '\0' || std::string_view(kind) == "dumb";
}

bool hasColours() noexcept {
    const char* off = std::getenv("NO_COLOR");
    return canRedraw() && (off == nullptr || *off == '\0');
}

}  // namespace

bool isTerminal(int descriptor) noexcept { return ::isatty(descriptor) == 1; }

bool canRedraw() noexcept { return isTerminal(STDOUT_FILENO) && !isDumb(); }

std::size_t terminalWidth() noexcept {
    constexpr std::size_t elsewhere = 100;
    constexpr std::size_t least = 20;
    const winsize size = sizeOfTerminal();
    if (size.ws_col != 0) return std::max<std::size_t>(size.ws_col, least);
    const char* columns = std::getenv("COLUMNS");
    const std::size_t wanted = columns == nullptr ? 0 : std::strtoul(columns, nullptr, 10);
    return wanted == 0 ? elsewhere : std::clamp<std::size_t>(wanted, least, 1000);
}

std::size_t terminalHeight() noexcept {
    const winsize size = sizeOfTerminal();
    return size.ws_row == 0 ? 24 : size.ws_row;
}

std::string styled(std::string_view text, Style style) {
    if (!hasColours()) return std::string(text);
    static constexpr const char* codes[] = {"1", "32", "33", "1;31", "2"};
    return std::string("\033[") + codes[static_cast<int>(style)] + 'm' + std::string(text) +
           "\033[0m";
}

std::string harmless(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) c = ' ';
    }
    return out;
}

Progress::Progress(std::string_view text) : shown_(isTerminal(STDERR_FILENO) && !isDumb()) {
    say(text);
}

void Progress::say(std::string_view text) {
    if (shown_) std::cerr << "\r\033[K" << text.substr(0, terminalWidth() - 1) << std::flush;
}

Progress::~Progress() {
    if (shown_) std::cerr << "\r\033[K" << std::flush;
}

}  // namespace nimb::nimbhost
