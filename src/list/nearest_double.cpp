// Decimal digits to the nearest double, without the C library's locale.

#include <algorithm>
#include <charconv>
#include <exception>
#include <limits>

#include "list/number_text.h"
#include "list/ro_list.h"

namespace nimb {

namespace {

/// Halfway points between doubles have at most 767 significant digits; whatever follows only
/// matters by not being zero.
constexpr std::size_t kMaxDigits = 800;

/// The significant digits of a number, and room to write an exponent behind them.
class Digits {
  public:
    void add(unsigned digit) noexcept {
        if (count_ < kMaxDigits) {
            text_[count_] = static_cast<char>('0' + digit);
            count_ += count_ != 0 || digit != 0;
        } else {
            ++dropped_;
            inexact_ = inexact_ || digit != 0;
        }
    }

    bool empty() const noexcept { return count_ == 0; }

    /// The double nearest to these digits x 10^exponent; an infinity or zero beyond the range.
    double nearest(long exponent) noexcept {
        exponent += dropped_;
        if (inexact_) {
            text_[count_++] = '1';
            --exponent;
        }
        // The value lies between 10^magnitude and 10^(magnitude + 1).
        const long magnitude = exponent + static_cast<long>(count_) - 1;
        if (magnitude > std::numeric_limits<double>::max_exponent10) {
            return std::numeric_limits<double>::infinity();
        }
        if (magnitude < kLeastMagnitude) {
            return 0.0;
        }
        char* at = text_ + count_;
        *at++ = 'e';
        at = std::to_chars(at, text_ + sizeof text_, exponent).ptr;
        double value = 0.0;
        if (std::from_chars(text_, at, value).ec == std::errc::result_out_of_range) {
            return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
        }
        return value;
    }

  private:
    /// Half the smallest denormal is 2.47e-324; whatever lies a power of ten below rounds to zero.
    static constexpr long kLeastMagnitude = -325;

    char text_[kMaxDigits + 16];
    std::size_t count_ = 0;
    long dropped_ = 0;
    bool inexact_ = false;
};

/// 10^0 to 10^22: the powers of ten that a double holds exactly.
constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr long kExactPowerLimit = 22;
constexpr long long kExactMantissaLimit = 1LL << std::numeric_limits<double>::digits;

}  // namespace

double VeltoROList::dbl2dbl(int exponent, long long mantissa) {
    if (mantissa == 0) {
        return 0.0;
    }
    const bool exactMantissa = mantissa <= kExactMantissaLimit && mantissa >= -kExactMantissaLimit;
    if (exactMantissa && exponent >= -kExactPowerLimit && exponent <= kExactPowerLimit) {
        // Both operands are exact, so the one operation rounds correctly.
        const auto value = static_cast<double>(mantissa);
        return exponent < 0 ? value / kExactPowers[-exponent] : value * kExactPowers[exponent];
    }
    Digits digits;
    char text[20]{};
    const auto bits = static_cast<unsigned long long>(mantissa);
    const char* end = std::to_chars(text, text + sizeof text, mantissa < 0 ? -bits : bits).ptr;
    for (const char* at = text; at != end; ++at) {
        digits.add(static_cast<unsigned>(*at - '0'));
    }
    const double value = digits.nearest(exponent);
    return mantissa < 0 ? -value : value;
}

namespace number_text {

template <typename Text>
double parseDouble(Text text, std::size_t start, std::size_t end) {
    std::size_t i = start;
    const bool negative = parseSigns(text, i, end);
    Digits digits;
    bool inFraction = false;
    long fractionDigits = 0;
    for (; i < end; ++i) {
        const unsigned unit = text[i];
        if (isDigit(unit)) {
            digits.add(unit - '0');
            fractionDigits += inFraction ? 1 : 0;
        } else if (unit == '.' && !inFraction) {
            inFraction = true;
        } else {
            break;
        }
    }
    if (digits.empty() || (inFraction && fractionDigits == 0)) {
        return 0.0;
    }
    long exponent = 0;
    if (i < end && isExponentMark(text[i]) && !parseExponent(text, i, end, exponent)) {
        throw std::exception();
    }
    const double value = digits.nearest(exponent - fractionDigits);
    return negative ? -value : value;
}

template double parseDouble(Bytes text, std::size_t start, std::size_t end);
template double parseDouble(Units text, std::size_t start, std::size_t end);

}  // namespace number_text

}  // namespace nimb
