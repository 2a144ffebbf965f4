#include <algorithm>
#include <string_view>

#include "convert/ua_export.h"
#include "convert/utf.h"
#include "errors/uac_err.h"

namespace nimb {
namespace {

constexpr std::size_t kHexDigits = 4;
constexpr std::size_t kEscapeLength = 2 + kHexDigits;

/// Value of a hexadecimal digit; -1 for any other character.
int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The UTF-16 unit of the escape at the front; -1 when there is none.
int unitOfEscape(std::string_view text) {
    if (text.size() < kEscapeLength || text[1] != 'u') {
        return -1;
    }
    int unit = 0;
    for (const char c : text.substr(2, kHexDigits)) {
        const int digit = hexValue(c);
        if (digit < 0) {
            return -1;
        }
        unit = unit << 4 | digit;
    }
    return unit;
}

/// Appends one unit converted by itself, so that either half of a surrogate pair is refused.
void appendUnit(std::string& out, char16_t unit) {
    const std::u16string_view alone(&unit, 1);
    const auto bytes = utf8Length(alone);
    if (!bytes) {
        throw UACErr(UACERR_APPLICATION, APPERR_VARIANT_CONVERSION,
                     "Error converting escaped string to UTF-8");
    }
    char utf8[3];
    writeUtf8(alone, utf8);
    out.append(utf8, *bytes);
}

}  // namespace

std::string UACExport::Escaped2UTF8(const char* text, unsigned long length) {
    std::string_view rest(text, length);
    std::string out;
    out.reserve(length);  // decoding only shrinks
    while (!rest.empty()) {
        const std::size_t plain = std::min(rest.find('\\'), rest.size());
        out.append(rest.substr(0, plain));
        rest.remove_prefix(plain);
        if (rest.size() < 2) {
            break;
        }
        if (rest[1] == '\\') {
            out += '\\';
            rest.remove_prefix(2);
            continue;
        }
        const int unit = unitOfEscape(rest);
        if (unit < 0) {
            break;
        }
        appendUnit(out, static_cast<char16_t>(unit));
        rest.remove_prefix(kEscapeLength);
    }
    return out;
}

}  // namespace nimb
