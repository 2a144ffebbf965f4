#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include "list/velto_list.h"

namespace nimb {

/// Whether the type with this index is one of those that appendNumber() writes.
inline bool isNumber(long typeIndex) {
    return (typeIndex >= UA_TYPES_BOOLEAN && typeIndex <= UA_TYPES_DOUBLE) ||
           typeIndex == UA_TYPES_STATUSCODE;
}

/// Appends a value of a numeric type, Boolean and StatusCode included. These are most of what a
/// plant sends, and writing them cannot fail but for memory.
/// @tparam Items  VeltoList or ItemWriter
/// @return false for any other type; nothing is appended then
template <typename Items>
[[gnu::always_inline]] inline bool appendNumber(Items& list, long typeIndex, const void* value) {
    switch (typeIndex) {
        case UA_TYPES_BOOLEAN:
            // As a byte: a bool in memory that came off the wire may hold more than 0 and 1.
            list += *static_cast<const UA_Byte*>(value) != 0 ? 1 : 0;
            return true;
        case UA_TYPES_SBYTE:
            list += int{*static_cast<const UA_SByte*>(value)};
            return true;
        case UA_TYPES_BYTE:
            list += int{*static_cast<const UA_Byte*>(value)};
            return true;
        case UA_TYPES_INT16:
            list += int{*static_cast<const UA_Int16*>(value)};
            return true;
        case UA_TYPES_UINT16:
            list += int{*static_cast<const UA_UInt16*>(value)};
            return true;
        case UA_TYPES_INT32:
            list += *static_cast<const UA_Int32*>(value);
            return true;
        case UA_TYPES_UINT32:
        case UA_TYPES_STATUSCODE:
            list += static_cast<long long>(*static_cast<const UA_UInt32*>(value));
            return true;
        case UA_TYPES_INT64:
        case UA_TYPES_UINT64:
            // Unsigned values from 2^63 on come out negative: Compatibility C5.
            list += static_cast<long long>(*static_cast<const UA_Int64*>(value));
            return true;
        case UA_TYPES_FLOAT:
            list.appendIEEE64(double{*static_cast<const UA_Float*>(value)});
            return true;
        case UA_TYPES_DOUBLE:
            list.appendIEEE64(*static_cast<const UA_Double*>(value));
            return true;
        default:
            return false;
    }
}

}  // namespace nimb
