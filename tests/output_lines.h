#pragma once

#include <string>

#include "list/ro_list.h"

namespace nimb::test {

/// The lines of a poll, one behind the other: `[value | value] [...]`. A status other than Good
/// stands before its value; time stamps are left out.
inline std::string linesText(const VeltoROList& lines) {
    std::string text;
    for (const VeltoListItem outer : lines) {
        const VeltoROList line = outer.AsVeltoROList();
        text += text.empty() ? "[" : " [";
        for (std::size_t item = 1; item < line.size(); ++item) {
            const VeltoROList value = line.at(item).AsVeltoROList();
            text += item == 1 ? "" : " | ";
            text += value.at(2).AsLong() == 0 ? "" : value.at(2).AsAString() + " ";
            const bool none = value.at(3).Type() == item_code::kUndefined;
            text += none ? "none" : value.at(3).AsAString();
        }
        text += "]";
    }
    return text;
}

}  // namespace nimb::test
