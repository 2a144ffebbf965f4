#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace nimb::standin {

/// One character taken off the front of a text.
struct Character {
    char32_t code = 0;     ///< the byte or unit itself when it is no valid character
    std::size_t size = 1;  ///< bytes or units used
    bool valid = false;
};

/// Takes the first character off UTF-8, or off UTF-16; the text is not empty. Overlong forms,
/// surrogates in UTF-8 and lone ones in UTF-16 are not valid.
Character firstCharacter(std::string_view utf8) noexcept;
Character firstCharacter(std::u16string_view utf16) noexcept;

/// Appends a valid code point.
void appendUtf16(std::u16string& out, char32_t code);

/// Whether the bytes are UTF-8 without control characters other than tab, line feed and return.
bool isPrintable(std::string_view utf8) noexcept;

/// The text between quotes, in UTF-8, as it can be typed again: what cannot be shown is escaped,
/// bytes as \xHH and 16-bit units as \uHHHH.
std::string quoted(std::string_view bytes);
std::string quoted(std::u16string_view units);

}  // namespace nimb::standin
