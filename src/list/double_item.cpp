// Doubles and number text as integer and decimal items.

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>

#include "list/number_text.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// magnitude x 10^exponent.
struct DecimalMagnitude {
    unsigned long long mantissa;
    long exponent;
};

constexpr int kFractionBits = 52;
constexpr int kExponentBias = 1075;  ///< of the significand taken as an integer
constexpr int kLeastExponent = -77;  ///< powers of two beyond these go through text
constexpr int kGreatestExponent = 76;
constexpr int kSpareBits = 10;  ///< free above a 53-bit significand within 63 bits
constexpr unsigned long long kTimesFiveLimit = 0x1999999999999999;
constexpr unsigned long long kTopMantissaBit = 1ULL << 62;

/// m / 2^k exactly, k > 0: each halving is a multiplication by 5 and one decimal place.
bool divideExactly(unsigned long long m, int k, DecimalMagnitude& result) noexcept {
    const int even = std::min(std::countr_zero(m), k);
    m >>= even;
    long exponent = 0;
    for (k -= even; k > 0; --k) {
        if (m > kTimesFiveLimit) {
            return false;
        }
        m *= 5;
        --exponent;
    }
    result = {m, exponent};
    return true;
}

/// m x 2^k exactly, k >= 0: factors of 5 turn doublings into decimal places, spare bits take the
/// others.
bool multiplyExactly(unsigned long long m, int k, DecimalMagnitude& result) noexcept {
    const int shift = std::min(k, kSpareBits);
    m <<= shift;
    long exponent = 0;
    for (k -= shift; k > 0 && m % 5 == 0; --k) {
        m /= 5;
        ++exponent;
    }
    for (; k > 0 && (m & kTopMantissaBit) == 0; --k) {
        m *= 2;
    }
    result = {m, exponent};
    return k == 0;
}

/// The exact value of a positive double where a 63-bit mantissa holds it.
bool exactDecimal(double value, DecimalMagnitude& result) noexcept {
    const auto bits = std::bit_cast<unsigned long long>(value);
    const int biased = static_cast<int>(bits >> kFractionBits);
    if (biased == 0) {
        return false;
    }
    const unsigned long long hidden = 1ULL << kFractionBits;
    const unsigned long long significand = (bits & (hidden - 1)) | hidden;
    const int k = biased - kExponentBias;
    if (k < kLeastExponent || k > kGreatestExponent) {
        return false;
    }
    return k < 0 ? divideExactly(significand, -k, result) : multiplyExactly(significand, k, result);
}

/// A positive double to 17 significant digits without trailing zeros.
DecimalMagnitude roundedDecimal(double value) noexcept {
    constexpr int kPlaces = std::numeric_limits<double>::max_digits10 - 1;
    char text[32];
    const char* end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, kPlaces).ptr;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    const auto length = static_cast<std::size_t>(end - text);
    const auto number = number_text::parseNumber(number_text::Bytes{bytes}, 0, length);
    DecimalMagnitude result{static_cast<unsigned long long>(number.mantissa), number.exponent};
    for (; result.mantissa % 10 == 0; result.mantissa /= 10) {
        ++result.exponent;
    }
    return result;
}

/// Number text as an exact value in the reach of integer and decimal items, whole numbers with
/// exponent 0. False for text that is no number throughout or out of that reach.
template <typename Text>
bool readExactly(Text text, std::size_t length, long& exponent, long long& mantissa) noexcept {
    const auto number = number_text::parseNumber(text, 0, length);
    if (length == 0 || number.end != length || !number.exact) {
        return false;
    }
    exponent = number.mantissa == 0 ? 0 : number.exponent;
    mantissa = number.mantissa;
    for (; exponent < 0 && mantissa % 10 == 0; ++exponent) {
        mantissa /= 10;
    }
    const long long whole = VeltoROList::dbllong(exponent, mantissa);
    if (exponent > 0 && whole != std::numeric_limits<long long>::max() &&
        whole != std::numeric_limits<long long>::min()) {
        exponent = 0;
        mantissa = whole;
    }
    return VeltoROList::scale(exponent, mantissa);
}

}  // namespace

std::size_t VeltoList::stuffDecimal(std::size_t position, unsigned char type, int exponent,
                                    long long mantissa, std::size_t count) {
    const std::size_t at = makeItem(position, count + 2);
    unsigned char* typeByte = bytes() + at;
    typeByte[0] = type;
    typeByte[1] = static_cast<unsigned char>(exponent);
    std::memcpy(typeByte + 2, &mantissa, count);
    return at;
}

std::size_t VeltoList::stuffPosNum(std::size_t position, int exponent, long long mantissa) {
    return stuffDecimal(position, item_code::kPosDecimal, exponent, mantissa, posBytes(mantissa));
}

std::size_t VeltoList::stuffNegNum(std::size_t position, int exponent, long long mantissa) {
    return mantissa == 0 ? stuffPosNum(position, exponent, 0)
                         : stuffDecimal(position, item_code::kNegDecimal, exponent, mantissa,
                                        negLongBytes(mantissa));
}

std::size_t VeltoList::stuffNumber(std::size_t position, long exponent, long long mantissa) {
    if (exponent == 0) {
        return stuff(position, mantissa);
    }
    const int narrow = static_cast<int>(exponent);
    return mantissa < 0 ? stuffNegNum(position, narrow, mantissa)
                        : stuffPosNum(position, narrow, mantissa);
}

std::size_t VeltoList::stuffDouble(std::size_t position, double value) {
    if (!std::isfinite(value)) {
        throw std::exception();
    }
    if (value == 0.0) {
        return stuffPosLong(position, 0);
    }
    DecimalMagnitude decimal{};
    const bool exact = exactDecimal(std::fabs(value), decimal);
    if (!exact) {
        decimal = roundedDecimal(std::fabs(value));
    }
    const auto magnitude = static_cast<long long>(decimal.mantissa);
    long long mantissa = value < 0 ? -magnitude : magnitude;
    long exponent = decimal.exponent;
    if (!exact && !scale(exponent, mantissa)) {
        return stuffAscii(position, dblstr(static_cast<int>(exponent), mantissa));
    }
    return stuffNumber(position, exponent, mantissa);
}

std::size_t VeltoList::stuffDouble(std::size_t position, const std::string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    long exponent = 0;
    long long mantissa = 0;
    return readExactly(number_text::Bytes{bytes}, text.size(), exponent, mantissa)
               ? stuffNumber(position, exponent, mantissa)
               : stuffAscii(position, text);
}

void VeltoList::appendDoubleString(const std::u16string& text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    long exponent = 0;
    long long mantissa = 0;
    if (readExactly(number_text::Units{bytes}, text.size(), exponent, mantissa)) {
        stuffNumber(length_, exponent, mantissa);
    } else {
        appendStringWithCompress(text);
    }
}

std::size_t VeltoList::stuffIEEE64(std::size_t position, double value) {
    return stuffBytes(position, item_code::kIeee, &value, sizeof value);
}

std::size_t VeltoList::stuffIEEE32(std::size_t position, float value) {
    return stuffBytes(position, item_code::kIeee, &value, sizeof value);
}

}  // namespace nimb
