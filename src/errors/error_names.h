#pragma once

#include <cstddef>

namespace nimb {

/// The name at a position of a table of names, or `otherwise` for a number that has none.
template <std::size_t Size>
const char* nameAt(const char* const (&names)[Size], long number, const char* otherwise) {
    const bool known = number >= 0 && number < static_cast<long>(Size);
    return known ? names[number] : otherwise;
}

/// @return the name of an error kind (a UACERR_TYPE number); "Undefined Error" for any other number
const char* simpleErrorCodeName(long kind);

/// @return how an application error code is worded; "Undefined error" for a code without a name
const char* applicationErrorName(long code);

}  // namespace nimb
