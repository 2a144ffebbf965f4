#pragma once

#include <cstddef>

#include "list/list_item.h"

namespace nimb {

/// mantissa x 10^exponent.
struct DecimalValue {
    long exponent = 0;
    long long mantissa = 0;
};

/// An item taken apart, for the accessors that dispatch on its type.
struct ItemPayload {
    explicit ItemPayload(const VeltoListItem& item) noexcept : type(item.getType(bytes, length)) {}

    /// Payload of an integer item; throws as the integer readers do.
    long long integer() const;
    /// Exponent and mantissa of a decimal item. Throws std::exception without an exponent byte.
    DecimalValue decimal() const;
    /// Value of a floating-point item, a single widened to double. Throws std::exception for
    /// payloads of other than 4 or 8 bytes.
    double ieee() const;
    /// Count of the 16-bit units of number text. Throws std::exception for an odd byte count.
    std::size_t evenUnits() const;

    const unsigned char* bytes = nullptr;
    std::size_t length = 0;
    int type;
};

}  // namespace nimb
