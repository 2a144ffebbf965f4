#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "list/list_item.h"

namespace nimb::host {

/// Whether the bytes are valid UTF-8. Text from a device need not be.
bool isUtf8(std::string_view bytes);

/// The bytes with '?' for each that is no UTF-8, for messages.
std::string printable(std::string_view bytes);

/// A text item as UTF-8: 8-bit text as it is, 16-bit text converted, a number printed.
/// @return nothing when the item's text is broken
std::optional<std::string> textOf(const VeltoListItem& item);

}  // namespace nimb::host
