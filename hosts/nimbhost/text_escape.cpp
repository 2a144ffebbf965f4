#include "nimbhost/text_escape.h"

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

/// The text between quotation marks. `escapeOther` writes what can neither be shown nor has a
/// common escape: called with the output, the character and its units.
template <typename Text, typename EscapeOther>
std::string quotedText(Text text, EscapeOther escapeOther) {
    std::string out = "\"";
    while (!text.empty()) {
        const Character next = firstCharacter(text);
        if (const char* escape = commonEscape(next.code)) {
            out += escape;
        } else if (next.valid && !isControl(next.code)) {
            appendUtf8(out, next.code);
        } else {
            escapeOther(out, next, text.substr(0, next.size));
        }
        text.remove_prefix(next.size);
    }
    return out + '"';
}

template <typename Text>
std::string sourceText(Text text) {
    return quotedText(
        text, [](std::string& out, const Character&, Text units) { escapeUnits(out, units); });
}

template <typename Text>
std::string jsonText(Text text) {
    return quotedText(text, [](std::string& out, const Character& character, Text) {
        out += "\\u";
        appendHex(out, character.code, 4);
    });
}

}  // namespace

Character firstCharacter(std::string_view utf8) noexcept {
    const auto byte = [utf8](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
    const char32_t first = byte(0);
    const std::size_t size = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    if (size == 0 || size > utf8.size()) {
        return {.code = first};
    }
    char32_t code = size == 1 ? first : first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return {.code = first};
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[size] || code > 0x10FFFF || isSurrogate(code)) {
        return {.code = first};
    }
    return {code, size, true};
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

void appendUtf8(std::string& out, char32_t code) {
    const auto add = [&out](char32_t byte) { out += static_cast<char>(byte); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0 | code >> 6);
        add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    }
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

bool isUtf8(std::string_view bytes) noexcept {
    return allCharacters(bytes, [](char32_t) { return true; });
}

std::string quoted(std::string_view bytes) { return sourceText(bytes); }
std::string quoted(std::u16string_view units) { return 'u' + sourceText(units); }
std::string jsonQuoted(std::string_view utf8) { return jsonText(utf8); }
std::string jsonQuoted(std::u16string_view units) { return jsonText(units); }

std::string hexDigits(std::span<const unsigned char> bytes) {
    std::string out;
    for (const unsigned char byte : bytes) {
        appendHex(out, byte, 2);
    }
    return out;
}

}  // namespace nimb::standin
