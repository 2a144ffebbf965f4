#pragma once

#include <chrono>
#include <thread>

namespace nimb::test {

/// How long a condition that must come true may take: far beyond what a loaded machine needs.
inline constexpr std::chrono::milliseconds patience{20000};

/// Asks `condition` every few milliseconds until it holds; false when the deadline passes first.
template <typename Condition>
[[nodiscard]] bool waitUntil(Condition condition, std::chrono::milliseconds deadline = patience) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// How long a call takes.
template <typename Call>
std::chrono::milliseconds timeOf(Call call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 begin);
}

}  // namespace nimb::test
