#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "convert/ua_export.h"
#include "convert/utf.h"
#include "errors/uac_err.h"

namespace nimb {
namespace {

constexpr std::ptrdiff_t kHexDigits = 4;
constexpr std::ptrdiff_t kEscapeLength = 2 + kHexDigits;
constexpr std::ptrdiff_t kGroup = sizeof(std::uint64_t);

/// Values of the hexadecimal digits by character; -1 for any other character.
constexpr std::array<std::int8_t, 256> kHexValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::int8_t i = 0; i < 16; ++i) {
        values.at(static_cast<unsigned char>("0123456789abcdef"[i])) = i;
        values.at(static_cast<unsigned char>("0123456789ABCDEF"[i])) = i;
    }
    return values;
}();

/// Whether none of the kGroup characters at `text` is a backslash.
bool isPlainGroup(const char* text) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    std::uint64_t group;
    std::memcpy(&group, text, sizeof group);
    group ^= ones * '\\';
    return ((group - ones) & ~group & ones * 0x80) == 0;
}

/// The UTF-16 unit of the escape at the front; negative when there is none.
int unitOfEscape(const char* text, const char* end) {
    if (end - text < kEscapeLength || text[1] != 'u') {
        return -1;
    }
    const auto digit = [text](int i) {
        return int{kHexValues[static_cast<unsigned char>(text[i])]};
    };
    return digit(2) << 12 | digit(3) << 8 | digit(4) << 4 | digit(5);  // negative if one is
}

/// Decodes up to the first escape that is none, in one pass. Returns the end of what it wrote.
/// @param out  room for as much as the text: decoding only shrinks
char* unescape(std::string_view text, char* out) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        if (*at != '\\') {
            if (end - at >= kGroup && isPlainGroup(at)) {
                std::memcpy(out, at, kGroup);
                out += kGroup;
                at += kGroup;
                continue;
            }
            // One by one: to count those before the backslash first takes a third longer, because
            // the processor can foresee a branch but has to wait for a count.
            for (; at != end && *at != '\\'; ++at, ++out) {
                *out = *at;
            }
            continue;
        }
        const int unit = unitOfEscape(at, end);
        if (unit >= 0) {
            // Each unit by itself, so that either half of a surrogate pair is refused.
            if (isSurrogate(static_cast<char32_t>(unit))) {
                throw UACErr(UACERR_APPLICATION, APPERR_VARIANT_CONVERSION,
                             "Error converting escaped string to UTF-8");
            }
            out = putUtf8(out, static_cast<char32_t>(unit));
            at += kEscapeLength;
        } else if (end - at >= 2 && at[1] == '\\') {
            *out++ = '\\';
            at += 2;
        } else {
            break;
        }
    }
    return out;
}

}  // namespace

std::string UACExport::Escaped2UTF8(const char* text, unsigned long length) {
    std::string out(length, '\0');
    const char* const end = unescape({text, length}, out.data());
    out.resize(static_cast<std::size_t>(end - out.data()));
    return out;
}

}  // namespace nimb
