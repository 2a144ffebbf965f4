#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include <cstdint>

namespace nimb {

/// Position of a type in the stack's UA_TYPES table, the number hosts know built-in types by; -1
/// for a type described elsewhere and for none. The descriptions of stack 1.4 carry no index.
inline long typeIndexOf(const UA_DataType* type) {
    // Addresses as integers: comparing pointers into different arrays is undefined.
    const auto offset =
        reinterpret_cast<std::uintptr_t>(type) - reinterpret_cast<std::uintptr_t>(&UA_TYPES[0]);
    constexpr std::uintptr_t tableBytes = UA_TYPES_COUNT * sizeof(UA_DataType);
    return offset < tableBytes ? static_cast<long>(offset / sizeof(UA_DataType)) : -1;
}

/// Whether there is data, and not merely the stack's mark of an empty array.
inline bool hasData(const UA_Variant& variant) { return variant.data > UA_EMPTY_ARRAY_SENTINEL; }

inline bool isScalar(const UA_Variant& variant) {
    return variant.type != nullptr && variant.arrayLength == 0 && hasData(variant);
}

}  // namespace nimb
