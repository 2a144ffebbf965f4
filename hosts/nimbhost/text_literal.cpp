#include "nimbhost/text_literal.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "nimbhost/text_escape.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {

namespace {

[[noreturn]] void throwUnclosed(std::size_t opened) {
    throw SyntaxError(opened, "this text is not closed: the quote at its end is missing");
}

/// The character for the one-letter escapes that both kinds of text know.
std::optional<char> commonEscape(char letter) noexcept {
    switch (letter) {
        case '"':
        case '\\':
            return letter;
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return std::nullopt;
    }
}

/// Reads the escape whose backslash stands at `at`, numbers with `mark` and `digits` digits.
unsigned readEscape(std::string_view text, std::size_t& at, char mark, std::size_t digits) {
    const std::size_t where = at++;
    const char letter = at < text.size() ? text[at++] : '\0';
    if (const std::optional<char> character = commonEscape(letter)) {
        return static_cast<unsigned char>(*character);
    }
    const std::string_view number = text.substr(std::min(at, text.size()), digits);
    const char* const end = number.data() + number.size();
    unsigned value = 0;
    if (letter != mark || number.size() != digits ||
        std::from_chars(number.data(), end, value, 16).ptr != end) {
        throw SyntaxError(where, std::string(R"(unknown escape; there are \" \\ \n \r \t and )") +
                                     (digits == 2 ? "\\xHH" : "\\uHHHH"));
    }
    at += digits;
    return value;
}

}  // namespace

std::string textLiteral(std::string_view text, std::size_t& at) {
    const std::size_t opened = at - 1;
    std::string out;
    while (at < text.size() && text[at] != '"') {
        if (text[at] == '\\') {
            out += static_cast<char>(readEscape(text, at, 'x', 2));
        } else {
            out += text[at++];
        }
    }
    if (at >= text.size()) {
        throwUnclosed(opened);
    }
    ++at;
    return out;
}

std::u16string wideTextLiteral(std::string_view text, std::size_t& at) {
    const std::size_t opened = at - 1;
    std::u16string out;
    while (at < text.size() && text[at] != '"') {
        if (text[at] == '\\') {
            out += static_cast<char16_t>(readEscape(text, at, 'u', 4));
            continue;
        }
        const Character next = firstCharacter(text.substr(at));
        if (!next.valid) {
            throw SyntaxError(at, "this is not UTF-8");
        }
        appendUtf16(out, next.code);
        at += next.size;
    }
    if (at >= text.size()) {
        throwUnclosed(opened);
    }
    ++at;
    return out;
}

}  // namespace nimb::standin
