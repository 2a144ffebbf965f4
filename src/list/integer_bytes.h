#pragma once

#include <bit>
#include <cstddef>

namespace nimb {

// How many payload bytes an integer's item takes, whoever writes it.

inline std::size_t significantBytes(unsigned long long bits) noexcept {
    return (static_cast<unsigned>(std::bit_width(bits)) + 7) / 8;
}

/// Fewest bytes of a non-negative value; none for 0 and below.
inline std::size_t posBytes(long long value) noexcept {
    return value <= 0 ? 0 : significantBytes(static_cast<unsigned long long>(value));
}
/// Bytes of a negative value once its leading 0xFF bytes are dropped; none from -1 on.
inline std::size_t negIntBytes(long long value) noexcept {
    return value >= -1 ? 0 : significantBytes(~static_cast<unsigned long long>(value));
}
/// As negIntBytes, but 4 bytes already below -2^20 where 3 would do down to -2^24. Both forms
/// decode alike: Compatibility C2.
inline std::size_t negLongBytes(long long value) noexcept {
    return value < -0x100000 && value >= -0x1000000 ? 4 : negIntBytes(value);
}

/// Bytes of the item that a list's operator+= makes of an integer. Inlined by force, as what calls
/// it is: a browse, which writes ten integers a reference, takes 3 % fewer instructions.
[[gnu::always_inline]] inline std::size_t integerBytes(int value) noexcept {
    return value < 0 ? negIntBytes(value) : posBytes(value);
}
[[gnu::always_inline]] inline std::size_t integerBytes(long long value) noexcept {
    return value < 0 ? negLongBytes(value) : posBytes(value);
}
[[gnu::always_inline]] inline std::size_t integerBytes(long value) noexcept {
    return integerBytes(static_cast<long long>(value));
}

}  // namespace nimb
