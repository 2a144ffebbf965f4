#pragma once

#include <initializer_list>
#include <new>
#include <span>
#include <string_view>

#include "convert/owned.h"

namespace nimb::plant {

/// The owner that the library itself uses.
using nimb::Owned;
using nimb::OwnedDataValue;
using nimb::OwnedNodeId;
using nimb::OwnedVariant;

/// The text as a stack string that borrows it: never clear it, nor keep it longer than the text.
inline UA_String borrowed(std::string_view text) noexcept {
    // The stack has no type for strings it only reads.
    auto* bytes = reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()));
    return {text.size(), bytes};
}

/// A scalar of type `UA_TYPES[typeIndex]`, deeply copied. Throws std::bad_alloc.
template <typename T>
OwnedVariant scalar(const T& value, std::size_t typeIndex) {
    OwnedVariant variant;
    if (UA_Variant_setScalarCopy(&*variant, &value, &UA_TYPES[typeIndex]) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    return variant;
}

/// An array of `UA_TYPES[typeIndex]`, deeply copied; `dimensions` (outermost first) multiply to its
/// length, or are left out for a flat array. Throws std::bad_alloc.
template <typename T>
OwnedVariant array(std::span<const T> values, std::size_t typeIndex,
                   std::initializer_list<UA_UInt32> dimensions = {}) {
    OwnedVariant variant;
    UA_StatusCode status =
        UA_Variant_setArrayCopy(&*variant, values.data(), values.size(), &UA_TYPES[typeIndex]);
    if (status == UA_STATUSCODE_GOOD && dimensions.size() > 0) {
        void* copy = nullptr;
        status =
            UA_Array_copy(dimensions.begin(), dimensions.size(), &copy, &UA_TYPES[UA_TYPES_UINT32]);
        variant->arrayDimensions = static_cast<UA_UInt32*>(copy);
        variant->arrayDimensionsSize = status == UA_STATUSCODE_GOOD ? dimensions.size() : 0;
    }
    if (status != UA_STATUSCODE_GOOD) throw std::bad_alloc();
    return variant;
}

}  // namespace nimb::plant
