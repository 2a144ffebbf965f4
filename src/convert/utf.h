#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace nimb {

// Strict conversion between UTF-8 and UTF-16, to where the result belongs. Rejected: truncated
// sequences, stray continuation bytes, overlong forms, surrogates in UTF-8 and unpaired ones in
// UTF-16, and code points above 10FFFF. Zero bytes and byte-order marks are text like any other.

/// 16-bit units that the bytes become; nothing when they are not valid UTF-8.
[[nodiscard]] std::optional<std::size_t> utf16Length(std::string_view utf8);

/// Writes UTF-16 to `out`, at any alignment, little-endian.
/// @param out  room for one unit a byte, whatever the text: all of it may be written over
/// @return units written; nothing when the bytes are not valid UTF-8
std::optional<std::size_t> writeUtf16(std::string_view utf8, unsigned char* out);

/// The text without the bytes of a character at its very end that was cut off inside: a device that
/// fills a fixed number of bytes does that. Everything else stays, valid or not.
[[nodiscard]] std::string_view withoutCutCharacter(std::string_view utf8);

/// Bytes that the 16-bit units become; nothing when they are not valid UTF-16.
[[nodiscard]] std::optional<std::size_t> utf8Length(std::u16string_view utf16);

/// Writes the utf8Length() bytes of valid UTF-16 to `out`.
void writeUtf8(std::u16string_view utf16, char* out);

}  // namespace nimb
