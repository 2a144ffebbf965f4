#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nimb {

/// The numbers 0 to 99 as two UTF-16 digits each.
inline constexpr auto kUtf16DigitPairs = [] {
    std::array<std::uint32_t, 100> pairs{};
    for (std::uint32_t i = 0; i < 100; ++i) {
        pairs[i] = ('0' + i / 10) | ('0' + i % 10) << 16;
    }
    return pairs;
}();

/// Writes decimal digits as UTF-16 (little-endian, any alignment), two per step. Dates are written
/// for every value of every poll; printf would cost more than the rest of the conversion.
class Utf16Digits {
  public:
    explicit Utf16Digits(unsigned char* out) : out_(out) {}

    /// One ASCII character.
    void put(char c) {
        const std::uint16_t unit = static_cast<unsigned char>(c);
        std::memcpy(out_, &unit, sizeof unit);
        out_ += sizeof unit;
    }
    /// Two digits of a value below 100.
    void put2(std::uint32_t value) {
        std::memcpy(out_, &kUtf16DigitPairs[value], sizeof kUtf16DigitPairs[value]);
        out_ += sizeof kUtf16DigitPairs[value];
    }
    /// Four digits of a value below 10^4.
    void put4(std::uint32_t value) {
        put2(value / 100);
        put2(value % 100);
    }
    /// Six digits of a value below 10^6.
    void put6(std::uint32_t value) {
        put2(value / 10000);
        put4(value % 10000);
    }
    /// Seven digits of a value below 10^7. The value over 10^5 becomes a fixed-point number with 32
    /// binary places, one place too large so that no cut makes a digit smaller; its integer part
    /// and then that of each multiple by 100 are two digits. Exact for all values.
    void put7(std::uint32_t value) {
        constexpr std::uint64_t scale = (std::uint64_t{1} << 57) / 100000 + 1;
        constexpr std::uint64_t fraction = 0xFFFFFFFF;
        std::uint64_t fixed = (value * scale >> 25) + 1;
        put2(static_cast<std::uint32_t>(fixed >> 32));
        fixed = (fixed & fraction) * 100;
        put2(static_cast<std::uint32_t>(fixed >> 32));
        fixed = (fixed & fraction) * 100;
        put2(static_cast<std::uint32_t>(fixed >> 32));
        fixed = (fixed & fraction) * 10;
        put1(static_cast<std::uint32_t>(fixed >> 32));
    }
    /// The digit of a value below 10.
    void put1(std::uint32_t value) { put(static_cast<char>('0' + value)); }
    /// A value of exactly `digits` digits.
    void putAll(std::uint32_t value, std::size_t digits) {
        out_ += 2 * digits;
        unsigned char* at = out_;
        for (; digits >= 2; digits -= 2, value /= 100) {
            at -= sizeof kUtf16DigitPairs[0];
            std::memcpy(at, &kUtf16DigitPairs[value % 100], sizeof kUtf16DigitPairs[0]);
        }
        if (digits != 0) {
            Utf16Digits(at - 2).put1(value);
        }
    }

  private:
    unsigned char* out_;
};

}  // namespace nimb
