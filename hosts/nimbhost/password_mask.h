#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nimb::standin {

/// What is wrong with a password that cannot be read: other messages quote what was typed.
inline constexpr const char* kUnreadablePassword =
    "is a password that cannot be read as one value; put it into quotes";

/// Where the password of a log-in begins in a line of a script; the line's end where there is none.
std::size_t passwordIn(std::string_view line) noexcept;

/// The line as it may be shown: without the password.
std::string withoutPassword(std::string_view line);

}  // namespace nimb::standin
