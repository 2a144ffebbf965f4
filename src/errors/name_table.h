#pragma once

#include <cstddef>

namespace nimb {

/// The name at a position of a table of names, or `otherwise` for a number that has none.
template <std::size_t Size>
const char* nameAt(const char* const (&names)[Size], long number, const char* otherwise) {
    const bool known = number >= 0 && number < static_cast<long>(Size);
    return known ? names[number] : otherwise;
}

}  // namespace nimb
