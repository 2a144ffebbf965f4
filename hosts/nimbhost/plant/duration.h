#pragma once

#include <chrono>
#include <string>

namespace nimb::nimbhost {

/// Reads "250ms", "5s", "2m" or "1h"; a bare number is milliseconds. Throws BadInput.
std::chrono::milliseconds parseDuration(const std::string& text);

/// "250 ms", "6.1 s", "3 min".
std::string durationText(std::chrono::milliseconds duration);

}  // namespace nimb::nimbhost
