#pragma once

#include <cstddef>
#include <limits>

namespace nimb::number_text {

/// 8-bit text.
struct Bytes {
    const unsigned char* text;
    unsigned operator[](std::size_t i) const noexcept { return text[i]; }
};

/// Little-endian 16-bit text at any alignment.
struct Units {
    const unsigned char* text;
    unsigned operator[](std::size_t i) const noexcept {
        return text[2 * i] | static_cast<unsigned>(text[2 * i + 1]) << 8;
    }
};

/// The largest mantissa that takes another decimal digit, if that digit is at most 7.
inline constexpr long long kMantissaLimit = 922337203685477580;

/// What was read from the start of a text.
struct Number {
    long long mantissa = 0;
    long exponent = 0;
    std::size_t end = 0;  ///< first unit that is not part of the number
    bool exact = true;    ///< no digit other than 0 was dropped
    bool full = false;    ///< a digit did not fit into the mantissa
    bool raised = false;  ///< a positive exponent was written
};

inline bool isDigit(unsigned unit) noexcept { return unit - '0' < 10; }
inline bool isExponentMark(unsigned unit) noexcept { return unit == 'E' || unit == 'e'; }

/// Passes signs from `i` on, each "-" flipping, and returns whether the number is negative.
template <typename Text>
bool parseSigns(Text text, std::size_t& i, std::size_t end) noexcept {
    bool negative = false;
    for (; i < end && (text[i] == '-' || text[i] == '+'); ++i) {
        negative ^= text[i] == '-';
    }
    return negative;
}

/// Reads the exponent whose mark stands at `i`: one optional sign and digits, in `value`. Without a
/// digit the mark is no part of the number and `i` stays. False when the digits grow past 32 bits;
/// the rest of them is then passed over.
template <typename Text>
bool parseExponent(Text text, std::size_t& i, std::size_t end, long& value) noexcept {
    constexpr long kLimit = 214748364;
    std::size_t at = i + 1;
    const bool negative = at < end && text[at] == '-';
    at += at < end && (text[at] == '-' || text[at] == '+');
    value = 0;
    if (at >= end || !isDigit(text[at])) {
        return true;
    }
    bool inRange = true;
    for (; at < end && isDigit(text[at]); ++at) {
        inRange = inRange && value <= kLimit;
        if (inRange) {
            value = value * 10 + static_cast<long>(text[at] - '0');
        }
    }
    i = at;
    value = negative ? -value : value;
    return inRange;
}

/// Collects decimal digits in a 63-bit mantissa. From the first digit that does not fit on, all are
/// dropped.
class Mantissa {
  public:
    /// Whether the digit was taken.
    bool add(unsigned digit) noexcept {
        full_ = full_ || value_ > kMantissaLimit || (value_ == kMantissaLimit && digit > 7);
        if (full_) {
            exact_ = exact_ && digit == 0;
            return false;
        }
        value_ = value_ * 10 + static_cast<long long>(digit);
        return true;
    }
    long long value() const noexcept { return value_; }
    bool full() const noexcept { return full_; }
    bool exact() const noexcept { return exact_; }

  private:
    long long value_ = 0;
    bool full_ = false;
    bool exact_ = true;
};

/// Reads the number at the start of the text from unit `start` up to unit `end`: any number of
/// signs, digits, a fraction, an exponent. Where there is no number the result is 0 and its end is
/// `start`.
template <typename Text>
Number parseNumber(Text text, std::size_t start, std::size_t end) noexcept {
    Number number{.end = start};
    std::size_t i = start;
    const bool negative = parseSigns(text, i, end);
    const std::size_t first = i;
    Mantissa mantissa;
    for (; i < end && isDigit(text[i]); ++i) {
        number.exponent += mantissa.add(text[i] - '0') ? 0 : 1;
    }
    bool hasDigits = i != first;
    if (i < end && text[i] == '.') {
        for (++i; i < end && isDigit(text[i]); ++i) {
            number.exponent -= mantissa.add(text[i] - '0') ? 1 : 0;
            hasDigits = true;
        }
    }
    if (!hasDigits) {
        return Number{.end = start};
    }
    if (i < end && isExponentMark(text[i])) {
        long written = 0;
        number.exact = parseExponent(text, i, end, written);
        number.exponent += written;
        number.raised = written > 0;
    }
    number.mantissa = negative ? -mantissa.value() : mantissa.value();
    number.exact = number.exact && mantissa.exact();
    number.full = mantissa.full();
    number.end = i;
    return number;
}

/// Moves a written exponent into the mantissa, so that "1E2" reads like "100" wherever 64 bits are
/// wanted: a positive exponent has a meaning of its own there. What is beyond 64 bits keeps an
/// exponent and gets the mantissa that saturates on its side. Other numbers stay as they are read.
inline void foldExponent(Number& number) noexcept {
    if (!number.raised || number.mantissa == 0) {
        return;
    }
    while (number.exponent > 0 && !number.full && number.mantissa <= kMantissaLimit &&
           number.mantissa >= -kMantissaLimit) {
        number.mantissa *= 10;
        --number.exponent;
    }
    if (number.exponent > 0 && number.mantissa > 0) {
        number.mantissa = std::numeric_limits<long long>::max();
    }
}

/// Reads the number at the start of the text as the nearest double; see VeltoROList::parsedblb.
template <typename Text>
double parseDouble(Text text, std::size_t start, std::size_t end);

extern template double parseDouble(Bytes text, std::size_t start, std::size_t end);
extern template double parseDouble(Units text, std::size_t start, std::size_t end);

}  // namespace nimb::number_text
