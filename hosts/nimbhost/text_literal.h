#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nimb::standin {

/// Reads the rest of a quoted text, from behind the opening quote at `at`, and moves `at` behind
/// the closing one. Throws SyntaxError.

/// 8-bit text: the bytes as typed.
std::string textLiteral(std::string_view text, std::size_t& at);
/// 16-bit text: UTF-16 of the UTF-8 typed.
std::u16string wideTextLiteral(std::string_view text, std::size_t& at);

}  // namespace nimb::standin
