#include "convert/utf.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace nimb {
namespace {

bool isHighSurrogate(char32_t c) { return c >= 0xD800 && c < 0xDC00; }
bool isLowSurrogate(char32_t c) { return c >= 0xDC00 && c < 0xE000; }

std::size_t utf8Size(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < kFirstSupplementary ? 3 : 4;
}

/// A decoded character and the units it took; 0 units for an invalid sequence.
struct Character {
    char32_t codePoint = 0;
    std::size_t units = 0;
};

/// Bytes that a UTF-8 lead byte announces; 0 for bytes that lead nothing.
std::size_t announcedBytes(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
}

/// The character at the front of non-empty UTF-8, whatever its length, that is not ASCII.
Character decodeMultibyte(const char* text, const char* end) {
    const auto lead = static_cast<unsigned char>(*text);
    const std::size_t bytes = announcedBytes(lead);
    if (bytes < 2 || static_cast<std::size_t>(end - text) < bytes) {
        return {};
    }
    char32_t c = lead & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80) {
            return {};
        }
        c = c << 6 | (next & 0x3FU);
    }
    if (utf8Size(c) != bytes || isSurrogate(c) || c > 0x10FFFF) {
        return {};
    }
    return {c, bytes};
}

/// The character at the front of non-empty UTF-8. Those of one and two bytes are most of what
/// European plants write.
inline Character decodeUtf8(const char* text, const char* end) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    if (lead >= 0xC2 && lead < 0xE0 && end - text >= 2) {
        const auto next = static_cast<unsigned char>(text[1]);
        if ((next & 0xC0U) == 0x80) {
            return {(lead & 0x1FU) << 6 | (next & 0x3FU), 2};
        }
    }
    return decodeMultibyte(text, end);
}

/// The character at the front of non-empty UTF-16.
Character decodeUtf16(std::u16string_view text) {
    const char32_t c = text[0];
    if (!isSurrogate(c)) {
        return {c, 1};
    }
    if (!isHighSurrogate(c) || text.size() < 2 || !isLowSurrogate(text[1])) {
        return {};
    }
    return {kFirstSupplementary + ((c - 0xD800) << 10) + (text[1] - char32_t{0xDC00}), 2};
}

unsigned char* putUnit(unsigned char* out, char32_t unit) {
    const auto narrow = static_cast<std::uint16_t>(unit);
    std::memcpy(out, &narrow, sizeof narrow);
    return out + sizeof narrow;
}

using EightBytes [[gnu::vector_size(8)]] = std::uint8_t;
using EightUnits [[gnu::vector_size(16)]] = std::uint16_t;

constexpr std::size_t kGroup = sizeof(EightBytes);

/// Number of ASCII characters at the front of the kGroup bytes at `text`.
std::size_t asciiInGroup(const char* text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::uint64_t group;
    std::memcpy(&group, text, sizeof group);
    group &= highBits;
    return group == 0 ? kGroup : static_cast<std::size_t>(std::countr_zero(group)) / 8;
}

/// Writes the kGroup bytes at `text` as 16-bit units each.
void widenGroup(const char* text, unsigned char* out) {
    EightBytes bytes;
    std::memcpy(&bytes, text, sizeof bytes);
    const auto units = __builtin_convertvector(bytes, EightUnits);
    std::memcpy(out, &units, sizeof units);
}

/// Writes one character, of one unit or two.
unsigned char* putUtf16(unsigned char* out, char32_t c) {
    if (c < kFirstSupplementary) [[likely]] {
        return putUnit(out, c);
    }
    out = putUnit(out, 0xD7C0 + (c >> 10));
    return putUnit(out, 0xDC00 + (c & 0x3FF));
}

}  // namespace

std::optional<std::size_t> utf16Length(std::string_view utf8) {
    std::size_t units = 0;
    while (!utf8.empty()) {
        const std::size_t ascii = utf8.size() >= kGroup ? asciiInGroup(utf8.data()) : 0;
        units += ascii;
        utf8.remove_prefix(ascii);
        if (ascii == kGroup) {
            continue;
        }
        const Character c = decodeUtf8(utf8.data(), utf8.data() + utf8.size());
        if (c.units == 0) {
            return std::nullopt;
        }
        units += c.codePoint < kFirstSupplementary ? 1 : 2;
        utf8.remove_prefix(c.units);
    }
    return units;
}

std::optional<std::size_t> writeUtf16(std::string_view utf8, unsigned char* out) {
    const unsigned char* const begin = out;
    const char* at = utf8.data();
    const char* const end = at + utf8.size();
    while (at != end) {
        if (static_cast<std::size_t>(end - at) >= kGroup) {
            // What does not belong to the text yet is written over by what does.
            widenGroup(at, out);
            const std::size_t ascii = asciiInGroup(at);
            out += 2 * ascii;
            at += ascii;
            if (ascii == kGroup) {
                continue;
            }
        }
        const Character c = decodeUtf8(at, end);
        if (c.units == 0) {
            return std::nullopt;
        }
        out = putUtf16(out, c.codePoint);
        at += c.units;
    }
    return static_cast<std::size_t>(out - begin) / 2;
}

std::string_view withoutCutCharacter(std::string_view utf8) {
    constexpr std::size_t most = 4;  // bytes of a character
    for (std::size_t bytes = 1; bytes < most && bytes <= utf8.size(); ++bytes) {
        const char* const lead = utf8.data() + utf8.size() - bytes;
        const std::size_t announced = announcedBytes(static_cast<unsigned char>(*lead));
        if (announced == 0) {
            continue;  // a continuation byte, unless the text is not UTF-8 at all
        }
        // Cut off, not wrong: the least or the greatest missing bytes make it a character.
        for (const char missing : {'\x80', '\xBF'}) {
            char whole[most] = {missing, missing, missing, missing};
            std::memcpy(whole, lead, bytes);
            if (announced > bytes && decodeMultibyte(whole, whole + announced).units != 0) {
                return utf8.substr(0, utf8.size() - bytes);
            }
        }
        break;
    }
    return utf8;
}

std::optional<std::size_t> utf8Length(std::u16string_view utf16) {
    std::size_t bytes = 0;
    while (!utf16.empty()) {
        const Character c = decodeUtf16(utf16);
        if (c.units == 0) {
            return std::nullopt;
        }
        bytes += utf8Size(c.codePoint);
        utf16.remove_prefix(c.units);
    }
    return bytes;
}

void writeUtf8(std::u16string_view utf16, char* out) {
    while (!utf16.empty()) {
        const Character c = decodeUtf16(utf16);
        out = putUtf8(out, c.codePoint);
        utf16.remove_prefix(c.units);
    }
}

}  // namespace nimb
