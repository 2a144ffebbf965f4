#include "nimbhost/text_escape.h"

#include "convert/utf.h"

namespace nimb::standin {

namespace {

void appendHex(std::string& out, unsigned long value, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        out += "0123456789abcdef"[value >> shift & 0xF];
    }
}

bool isControl(char32_t code) noexcept { return code < 0x20 || (code >= 0x7F && code < 0xA0); }
bool isSurrogate(char32_t code) noexcept { return code >= 0xD800 && code < 0xE000; }

/// Whether every character of the text passes the test.
template <typename Test>
bool allCharacters(std::string_view text, Test test) noexcept {
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        if (!next.valid || !test(next.code)) {
            return false;
        }
        text.remove_prefix(next.size);
    }
    return true;
}

/// The escape that C and JSON share for this character, or null.
const char* commonEscape(char32_t code) noexcept {
    switch (code) {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return nullptr;
    }
}

void escapeUnits(std::string& out, std::string_view bytes) {
    for (const char byte : bytes) {
        out += "\\x";
        appendHex(out, static_cast<unsigned char>(byte), 2);
    }
}

void escapeUnits(std::string& out, std::u16string_view units) {
    for (const char16_t unit : units) {
        out += "\\u";
        appendHex(out, unit, 4);
    }
}

void appendAsUtf8(std::string& out, std::string_view bytes) { out += bytes; }

void appendAsUtf8(std::string& out, std::u16string_view units) {
    const std::size_t before = out.size();
    out.resize(before + *utf8Length(units));
    writeUtf8(units, out.data() + before);
}

/// The text between quotation marks.
template <typename Text>
std::string quotedText(Text text) {
    std::string out = "\"";
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        if (const char* escape = commonEscape(next.code)) {
            out += escape;
        } else if (next.valid && !isControl(next.code)) {
            appendAsUtf8(out, text.substr(0, next.size));
        } else {
            escapeUnits(out, text.substr(0, next.size));
        }
        text.remove_prefix(next.size);
    }
    return out + '"';
}

}  // namespace

Character firstCharacter(std::string_view utf8) noexcept {
    const auto first = static_cast<unsigned char>(utf8[0]);
    const std::size_t size = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    unsigned char units[2 * 4]{};
    const auto written =
        size > utf8.size() ? std::nullopt : writeUtf16(utf8.substr(0, size), units);
    if (!written) {
        return {.code = first};
    }
    const char16_t decoded[2] = {static_cast<char16_t>(units[0] | units[1] << 8),
                                 static_cast<char16_t>(units[2] | units[3] << 8)};
    return {firstCharacter(std::u16string_view(decoded, *written)).code, size, true};
}

Character firstCharacter(std::u16string_view utf16) noexcept {
    const char32_t first = utf16[0];
    if (!isSurrogate(first)) {
        return {first, 1, true};
    }
    if (first >= 0xDC00 || utf16.size() < 2 || (utf16[1] & 0xFC00) != 0xDC00) {
        return {.code = first};
    }
    return {0x10000 + ((first & 0x3FF) << 10 | (utf16[1] & 0x3FFU)), 2, true};
}

void appendUtf16(std::u16string& out, char32_t code) {
    if (code >= 0x10000) {
        out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
        out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
    } else {
        out += static_cast<char16_t>(code);
    }
}

bool isPrintable(std::string_view utf8) noexcept {
    return allCharacters(utf8, [](char32_t code) {
        return !isControl(code) || code == '\t' || code == '\n' || code == '\r';
    });
}

std::string quoted(std::string_view bytes) { return quotedText(bytes); }
std::string quoted(std::u16string_view units) { return 'u' + quotedText(units); }

}  // namespace nimb::standin
