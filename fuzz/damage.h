#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "input.h"

namespace nimb::fuzz {

/// What befalls one reply on its way: a byte or a number in it, its length, what goes ahead of it,
/// how it is cut into chunks and runs.
struct Damage {
    static constexpr std::size_t kSize = 8;  ///< of its bytes in an input

    std::uint8_t reply = 0;  ///< which one of the connection
    std::uint8_t kind = 0;
    std::uint16_t at = 0;  ///< a place in it, taken modulo its size
    std::uint32_t value = 0;

    [[nodiscard]] static Damage take(Input& input);
};

/// @return the runs of bytes in which the reply arrives
[[nodiscard]] std::vector<std::string> damaged(const std::string& reply, const Damage& damage);

}  // namespace nimb::fuzz
