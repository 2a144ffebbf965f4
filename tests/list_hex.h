#pragma once

#include <algorithm>
#include <string>

#include "list/velto_list.h"

namespace nimb::test {

/// The list's bytes as "02 04".
inline std::string hex(const VeltoROList& list) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < list.datalength(); ++i) {
        text += i == 0 ? "" : " ";
        text += kDigits[list.data()[i] >> 4];
        text += kDigits[list.data()[i] & 0xF];
    }
    return text;
}

/// The bytes of the list that holds just the item for `value`.
template <typename T>
std::string itemHex(const T& value) {
    VeltoList list;
    list += value;
    return hex(list);
}

/// A list of bytes as they are.
inline VeltoList raw(const std::basic_string<unsigned char>& bytes) {
    return {bytes.data(), bytes.size()};
}

/// An item of any type and payload.
inline VeltoList item(unsigned char type, const std::basic_string<unsigned char>& payload) {
    VeltoList list;
    unsigned char* at = list.appendItem(type, payload.size());
    std::copy(payload.begin(), payload.end(), at);
    return list;
}

}  // namespace nimb::test
