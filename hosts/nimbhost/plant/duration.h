#pragma once

#include <chrono>
#include <string>

namespace nimb::nimbhost {

/// Reads "250ms", "5s", "2m" or "1h"; a bare number is milliseconds. Throws BadInput.
std::chrono::milliseconds parseDuration(const std::string& text);

/// "250 ms", "6.1 s", "3 min".
std::string durationText(std::chrono::milliseconds duration);

/// What is waited for and how long it may take: "asking opc.tcp://plant:4840, an answer may take 3
/// s".
std::string waitText(const std::string& what, int timeout);

}  // namespace nimb::nimbhost
