#include "nimbhost/terminal/input_mode.h"

#include <unistd.h>

#include <atomic>
#include <iostream>
#include <string_view>

namespace nimb::nimbhost {

namespace {

constexpr std::string_view kOpenPage = "\033[?1049h\033[?25l";
constexpr std::string_view kClosePage = "\033[?25h\033[?1049l";

/// For the signal handler, which finds no objects.
termios before{};
std::atomic<bool> changed{false};
std::atomic<bool> pageIsOpen{false};

}  // namespace

InputMode::InputMode(tcflag_t without) {
    if (::tcgetattr(STDIN_FILENO, &before) != 0) return;
    termios wanted = before;
    wanted.c_lflag &= ~without;
    if ((without & ICANON) != 0) wanted.c_cc[VMIN] = wanted.c_cc[VTIME] = 0;  // reads do not wait
    changed = ::tcsetattr(STDIN_FILENO, TCSANOW, &wanted) == 0;
}

InputMode::~InputMode() {
    if (changed.exchange(false)) ::tcsetattr(STDIN_FILENO, TCSANOW, &before);
}

bool InputMode::isChanged() noexcept { return changed; }

void openPage() {
    pageIsOpen = true;
    std::cout << kOpenPage << std::flush;
}

void closePage() noexcept {
    std::cout.exceptions(std::ios::goodbit);
    std::cout << kClosePage << std::flush;
    pageIsOpen = false;
}

void restoreTerminal() noexcept {
    if (pageIsOpen) {
        const ssize_t written = ::write(STDOUT_FILENO, kClosePage.data(), kClosePage.size());
        static_cast<void>(written);  // the terminal is gone, then
    }
    if (changed) ::tcsetattr(STDIN_FILENO, TCSANOW, &before);
}

}  // namespace nimb::nimbhost
