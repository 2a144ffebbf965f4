// Decimal numbers: arithmetic on (exponent, mantissa) and their text.

#include <limits>

#include "list/number_text.h"
#include "list/ro_list.h"

namespace nimb {

const long long VeltoROList::s_rgscaletab[19] = {1,
                                                 10,
                                                 100,
                                                 1000,
                                                 10000,
                                                 100000,
                                                 1000000,
                                                 10000000,
                                                 100000000,
                                                 1000000000,
                                                 10000000000,
                                                 100000000000,
                                                 1000000000000,
                                                 10000000000000,
                                                 100000000000000,
                                                 1000000000000000,
                                                 10000000000000000,
                                                 100000000000000000,
                                                 1000000000000000000};

const char VeltoROList::s_rgonestab[101] =
    "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123"
    "456789";

const char VeltoROList::s_rgtenstab[101] =
    "0000000000111111111122222222223333333333444444444455555555556666666666777777777788888888889999"
    "999999";

const char VeltoROList::s_rglonglongmin[12] = "_LONG64_MIN";

namespace {

constexpr long long kMax = std::numeric_limits<long long>::max();
constexpr long long kMin = std::numeric_limits<long long>::min();

/// The decimal digits of a magnitude, without leading zeros.
std::string magnitudeDigits(long long value) {
    if (value == kMin) {
        return {VeltoROList::s_rglonglongmin + 1, 9};
    }
    char buffer[20];
    char* const end = buffer + sizeof buffer;
    char* at = end;
    auto rest = static_cast<unsigned long long>(value < 0 ? -value : value);
    do {
        const unsigned long long pair = rest % 100;
        rest /= 100;
        *--at = VeltoROList::s_rgonestab[pair];
        *--at = VeltoROList::s_rgtenstab[pair];
    } while (rest != 0);
    at += *at == '0' && at + 1 != end;
    return {at, end};
}

template <typename Text>
long readNumber(Text text, std::size_t start, std::size_t end, long long& mantissa) noexcept {
    number_text::Number number = number_text::parseNumber(text, start, end);
    number_text::foldExponent(number);
    mantissa = number.mantissa;
    return number.exponent;
}

}  // namespace

std::string VeltoROList::lngstr(long long value) {
    std::string digits = magnitudeDigits(value);
    if (value < 0 && value != kMin) {
        digits.insert(digits.begin(), '-');
    }
    return digits;
}

std::string VeltoROList::dblstr(int exponent, long long mantissa) {
    if (mantissa == 0) {
        return "0";
    }
    std::string digits = magnitudeDigits(mantissa);
    for (; exponent < 0 && digits.back() == '0'; ++exponent) {
        digits.pop_back();
    }
    if (exponent > 0) {
        digits.append(static_cast<std::size_t>(exponent), '0');
    } else if (exponent < 0) {
        const auto places = static_cast<std::size_t>(-exponent);
        if (digits.size() < places) {
            digits.insert(0, places - digits.size(), '0');
        }
        digits.insert(digits.size() - places, 1, '.');
    }
    if (mantissa < 0) {
        digits.insert(digits.begin(), '-');
    }
    return digits;
}

long long VeltoROList::dbllong(long exponent, long long mantissa) noexcept {
    if (exponent < 0) {
        return exponent < -18 ? 0 : mantissa / s_rgscaletab[-exponent];
    }
    if (mantissa == 0) {
        return 0;
    }
    for (; exponent > 0; --exponent) {
        if (mantissa > kMax / 10 || mantissa < kMin / 10) {
            return mantissa > 0 ? kMax : kMin;
        }
        mantissa *= 10;
    }
    return mantissa;
}

long long VeltoROList::ieee2long(double value) noexcept {
    constexpr double kLimit = 9223372036854775808.0;
    return value >= -kLimit && value < kLimit ? static_cast<long long>(value) : kMin;
}

bool VeltoROList::scale(long& exponent, long long& mantissa) noexcept {
    constexpr long long kLimit = number_text::kMantissaLimit;
    if (mantissa == 0) {
        exponent = 0;
    }
    for (; exponent > 127 && mantissa <= kLimit && mantissa >= -kLimit; --exponent) {
        mantissa *= 10;
    }
    for (; exponent < -128 && mantissa % 10 == 0; ++exponent) {
        mantissa /= 10;
    }
    return exponent <= 127 && exponent >= -128;
}

long VeltoROList::parsenumb(const unsigned char* text, std::size_t start, std::size_t end,
                            long long& mantissa) noexcept {
    return readNumber(number_text::Bytes{text}, start, end, mantissa);
}

long VeltoROList::parsenumu(const unsigned char* text, std::size_t start, std::size_t end,
                            long long& mantissa) noexcept {
    return readNumber(number_text::Units{text}, start, end, mantissa);
}

double VeltoROList::parsedblb(const unsigned char* text, std::size_t start, std::size_t end) {
    return number_text::parseDouble(number_text::Bytes{text}, start, end);
}

double VeltoROList::parsedblu(const unsigned char* text, std::size_t start, std::size_t end) {
    return number_text::parseDouble(number_text::Units{text}, start, end);
}

}  // namespace nimb
