#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace nimb {

inline constexpr char32_t kFirstSupplementary = 0x10000;

/// Whether it is half of a character in UTF-16, which UTF-8 has no form for.
[[nodiscard]] inline bool isSurrogate(char32_t c) { return c >= 0xD800 && c < 0xE000; }

/// Writes one character, which is no surrogate, in one to four bytes. Returns the end.
inline char* putUtf8(char* out, char32_t c) {
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
        return out;
    }
    if (c < 0x800) {
        put(0xC0 | c >> 6);
    } else {
        if (c < kFirstSupplementary) {
            put(0xE0 | c >> 12);
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        }
        put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
    return out;
}

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
