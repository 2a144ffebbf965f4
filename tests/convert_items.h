#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list_hex.h"
#include "testbed/lists.h"

namespace nimb::test {

/// "kind,code,text" of the UACErr that the call raises; "no error" without one.
inline std::string errorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const UACErr& e) {
        return std::to_string(e.kind) + "," + std::to_string(e.code) + "," + e.text;
    }
    return "no error";
}

inline UA_String uaString(const char* text) {
    return {std::char_traits<char>::length(text),
            reinterpret_cast<UA_Byte*>(const_cast<char*>(text))};
}

/// A scalar, or with a length an array, over data and dimensions that stay the caller's.
inline UA_Variant variant(int typeIndex, void* data, std::size_t length = 0,
                          std::size_t dimCount = 0, UA_UInt32* dims = nullptr) {
    return {&UA_TYPES[typeIndex], UA_VARIANT_DATA, length, data, dimCount, dims};
}

inline UACExport exporter(int variantMode = VARIANT_NESTED, int stringMode = STRING_BYTES,
                          int dateMode = DATE_UA_INTEGER) {
    return {variantMode, DATA_VALUE_WITH_TIMES, 0, 0, dateMode, stringMode};
}

/// The bytes of the items that a call appends, or the error it raises.
template <typename Write>
std::string result(Write write) {
    VeltoList list;
    const std::string error = errorOf([&] { write(&list); });
    EXPECT_EQ(list.size(), VeltoList(list.data(), list.datalength()).size());
    return error == "no error" ? hex(list) : error;
}

/// What the export of one value gives.
template <typename T>
std::string exported(long type, const T& value, const UACExport& e = exporter(),
                     bool flat = false) {
    return result([&](VeltoList* list) { e.addToVeltoList(list, type, &value, flat); });
}

}  // namespace nimb::test
