#pragma once

#include <open62541/types.h>

namespace nimb {

/// Whether there is data, and not merely the stack's mark of an empty array.
inline bool hasData(const UA_Variant& variant) { return variant.data > UA_EMPTY_ARRAY_SENTINEL; }

inline bool isScalar(const UA_Variant& variant) {
    return variant.type != nullptr && variant.arrayLength == 0 && hasData(variant);
}

}  // namespace nimb
