#pragma once

#include <cstddef>
#include <string>

#include "list/velto_list.h"

namespace nimb::test {

inline void append(VeltoList& list, double value) { list.appendIEEE64(value); }
inline void append(VeltoList& list, const char* text) { list += std::string(text); }
template <typename T>
void append(VeltoList& list, const T& value) {
    list += value;
}

/// A list of arguments: integers, 8-bit and 16-bit strings, floating point (as such), VeltoNull,
/// and inner lists.
template <typename... T>
VeltoList listOf(const T&... values) {
    VeltoList list;
    (append(list, values), ...);
    return list;
}

/// A list of one repeated value.
template <typename T>
VeltoList repeated(std::size_t count, const T& value) {
    VeltoList list;
    for (std::size_t i = 0; i < count; ++i) append(list, value);
    return list;
}

/// The items of all lists, one behind the other.
template <typename... List>
VeltoList joined(const List&... lists) {
    VeltoList all;
    (all.appendList(lists), ...);
    return all;
}

/// The items of `list` from position `first` on.
inline VeltoROList itemsFrom(const VeltoROList& list, std::size_t first) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < first; ++i) offset += list.checkedItemSize(offset);
    return {list.data() + offset, list.datalength() - offset};
}

}  // namespace nimb::test
