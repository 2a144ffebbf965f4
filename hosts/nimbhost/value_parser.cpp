#include "nimbhost/value_parser.h"

#include <charconv>
#include <optional>
#include <vector>

#include "nimbhost/text_literal.h"

namespace nimb::standin {

namespace {

constexpr int kMaxDepth = 100;  // nested lists; keeps the stack small

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
bool isLetter(char c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isNameStart(char c) noexcept { return isLetter(c) || c == '_'; }
bool isNameUnit(char c) noexcept { return isNameStart(c) || isDigit(c); }
bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool isBareUnit(char c) noexcept {
    return isLetter(c) || isDigit(c) || std::string_view("_.:/%@+-=~").find(c) != std::string::npos;
}
bool isBareStart(char c) noexcept {
    return isLetter(c) || std::string_view("_./~").find(c) != std::string::npos;
}

class ValueParser {
  public:
    ValueParser(std::string_view text, std::size_t start, const Variables& variables)
        : text_(text), at_(start), variables_(variables) {}

    /// Values up to the closing character, or up to the end when it is NUL.
    VeltoList values(char closing, int depth);

  private:
    bool atEnd() const noexcept { return at_ >= text_.size() || text_[at_] == '#'; }
    char peek() const noexcept { return at_ < text_.size() ? text_[at_] : '\0'; }
    void skipBlanks() noexcept {
        while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    }
    bool take(std::string_view word) noexcept {
        const bool found = text_.substr(at_).starts_with(word);
        at_ += found ? word.size() : 0;
        return found;
    }
    std::string_view takeWhile(bool (*belongs)(char)) noexcept {
        const std::size_t first = at_;
        while (at_ < text_.size() && belongs(text_[at_])) ++at_;
        return text_.substr(first, at_ - first);
    }

    void appendValue(VeltoList& out, int depth);
    void appendWord(VeltoList& out);
    void appendNumber(VeltoList& out, std::string_view word, std::size_t where);
    static std::optional<long long> integerNumber(std::string_view word, std::size_t where);
    template <typename Real>
    Real realNumber();
    void appendHex(VeltoList& out);
    void appendVariable(VeltoList& out);
    std::vector<std::size_t> takeIndexes();

    std::string_view text_;
    std::size_t at_;
    const Variables& variables_;
};

VeltoList ValueParser::values(char closing, int depth) {
    const std::size_t opened = at_;
    VeltoList out;
    bool afterComma = false;
    for (skipBlanks(); closing == '\0' ? !atEnd() : peek() != closing; skipBlanks()) {
        if (closing != '\0' && atEnd()) {
            throw SyntaxError(opened - 1, "this list is not closed: \"]\" is missing");
        }
        appendValue(out, depth);
        const std::size_t behind = at_;
        skipBlanks();
        afterComma = take(",");
        if (!afterComma && at_ == behind && !atEnd() && peek() != closing) {
            throw SyntaxError(at_, "a comma or a blank must stand between values");
        }
    }
    if (afterComma) {
        throw SyntaxError(at_, "a value must follow the comma");
    }
    at_ += closing == '\0' ? 0 : 1;
    return out;
}

void ValueParser::appendValue(VeltoList& out, int depth) {
    const std::size_t where = at_;
    if (take("[")) {
        if (depth == kMaxDepth) {
            throw SyntaxError(where, "lists are nested too deeply");
        }
        out += values(']', depth + 1);
    } else if (take("u\"")) {
        out += wideTextLiteral(text_, at_);
    } else if (take("\"")) {
        out += textLiteral(text_, at_);
    } else if (take("x:")) {
        appendHex(out);
    } else if (take("f32:")) {
        out.appendIEEE32(realNumber<float>());
    } else if (take("f:")) {
        out.appendIEEE64(realNumber<double>());
    } else if (take("$")) {
        appendVariable(out);
    } else {
        appendWord(out);
    }
}

void ValueParser::appendWord(VeltoList& out) {
    const std::size_t where = at_;
    const std::string_view word = takeWhile(isBareUnit);
    const char first = word.empty() ? '\0' : word[0];
    const char second = word.size() < 2 ? '\0' : word[1];
    if (isDigit(first) || first == '-' || first == '+' || (first == '.' && isDigit(second))) {
        appendNumber(out, word, where);
    } else if (word == "null") {
        out.appendEmptyItem();
    } else if (word == "true" || word == "false") {
        throw SyntaxError(where, "there is no boolean: write 1 or 0");
    } else if (!word.empty() && isBareStart(first)) {
        out += std::string(word);
    } else {
        throw SyntaxError(where,
                          "a value is expected here; texts with other characters than "
                          "letters, digits and _.:/%@+-=~ need quotes: \"text\"");
    }
}

void ValueParser::appendNumber(VeltoList& out, std::string_view word, std::size_t where) {
    if (const std::optional<long long> integer = integerNumber(word, where)) {
        out += *integer;
        return;
    }
    double nearest = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, nearest);
    if (error == std::errc::invalid_argument || stop != end) {
        throw SyntaxError(where, "not a number; a text that begins like one needs quotes");
    }
    VeltoList number;
    number.appendDoubleString(std::string(word));
    if (number.at(0).Type() == item_code::kBytes) {
        throw SyntaxError(where,
                          "a decimal number holds 18 digits and powers of ten from -128 to 127; "
                          "write f: in front for a floating-point number");
    }
    out.appendList(number);
}

/// The integer that the whole word is, if it is one.
std::optional<long long> ValueParser::integerNumber(std::string_view word, std::size_t where) {
    const bool hexadecimal = word.starts_with("0x");
    const std::string_view digits = word.substr(hexadecimal ? 2 : 0);
    const char* const end = digits.data() + digits.size();
    long long value = 0;
    const auto [stop, error] = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    if (stop == end && error == std::errc::result_out_of_range) {
        throw SyntaxError(where, "integers have 64 bits; this one is too large");
    }
    return stop == end && error == std::errc{} ? std::optional(value) : std::nullopt;
}

template <typename Real>
Real ValueParser::realNumber() {
    const char* const end = text_.data() + text_.size();
    Real value = 0;
    const auto [stop, error] = std::from_chars(text_.data() + at_, end, value);
    if (error == std::errc::result_out_of_range) {
        throw SyntaxError(at_, "out of the range of floating-point numbers");
    }
    if (error != std::errc{} || (stop != end && isBareUnit(*stop))) {
        throw SyntaxError(at_, "a floating-point number must follow, for example f:0.1");
    }
    at_ = static_cast<std::size_t>(stop - text_.data());
    return value;
}

void ValueParser::appendHex(VeltoList& out) {
    const std::size_t where = at_;
    const std::string_view digits = takeWhile(isBareUnit);
    std::vector<unsigned char> bytes(digits.size() / 2);
    bool good = digits.size() % 2 == 0;
    for (std::size_t i = 0; good && i < bytes.size(); ++i) {
        const char* pair = digits.data() + 2 * i;
        good = std::from_chars(pair, pair + 2, bytes[i], 16).ptr == pair + 2;
    }
    if (!good) {
        throw SyntaxError(where, "two hexadecimal digits for each byte must follow, as in x:00ff");
    }
    out += CountedByteArray(bytes.data(), bytes.size());
}

void ValueParser::appendVariable(VeltoList& out) {
    const std::size_t where = at_ - 1;
    const std::string name(takeWhile(isNameUnit));
    const std::vector<std::size_t> indexes = takeIndexes();
    const VeltoList* value = variables_.find(name);
    if (value == nullptr) {
        throw SyntaxError(where, "there is no variable $" + name);
    }
    if (variables_.checking) {
        out.appendEmptyItem();
        return;
    }
    if (value->empty()) {
        throw SyntaxError(where, "no value has been given to $" + name + " yet");
    }
    VeltoListItem chosen = value->at(0);
    for (const std::size_t index : indexes) {
        try {
            chosen = chosen.AsVeltoROList().at(index);
        } catch (const std::exception&) {  // all that the list classes say when there is no such
            throw SyntaxError(where, "no item " + std::to_string(index) + " is in there");
        }
    }
    out.appendList(VeltoROList(chosen.header(), chosen.size()));
}

std::vector<std::size_t> ValueParser::takeIndexes() {
    std::vector<std::size_t> indexes;
    while (take("[")) {
        const std::string_view digits = takeWhile(isDigit);
        std::size_t index = 0;
        const char* const end = digits.data() + digits.size();
        if (std::from_chars(digits.data(), end, index).ec != std::errc{} || !take("]")) {
            throw SyntaxError(at_, "an item is chosen by its number, as in $result[1]");
        }
        indexes.push_back(index);
    }
    return indexes;
}

}  // namespace

VeltoList parseValues(std::string_view text, std::size_t start, const Variables& variables) {
    const VeltoList list = ValueParser(text, start, variables).values('\0', 0);
    // A copy of the bytes alone: spliced items have left the cursor somewhere.
    return {list.data(), list.datalength()};
}

VeltoList parseValue(std::string_view text, std::size_t start, const Variables& variables) {
    VeltoList list = parseValues(text, start, variables);
    if (list.size() != 1) {
        throw SyntaxError(start, "exactly one value is expected here");
    }
    return list;
}

bool isName(std::string_view text) noexcept {
    if (text.empty() || !isNameStart(text[0])) {
        return false;
    }
    for (const char c : text) {
        if (!isNameUnit(c)) {
            return false;
        }
    }
    return true;
}

}  // namespace nimb::standin
