#pragma once

#include "convert/owned.h"
#include "list/list_item.h"

namespace nimb {

/// A host string as an OPC UA string, read as the process-wide string mode says: bytes as they are
/// (mode 0) or UTF-16 turned into UTF-8 (mode 1). In any other mode the item is not read and the
/// string stays null: Compatibility C15.
/// @throws UACErr  UTF-16 that cannot be converted
/// @throws std::exception  an item that is no text
[[nodiscard]] OwnedString hostString(const VeltoListItem& item);

/// Makes `id` a string node id over the identifier, whose ownership it takes.
void setStringNodeId(UA_NodeId& id, long namespaceIndex, OwnedString identifier);
/// Makes `id` a numeric node id; the high bits of both numbers are dropped.
void setNumericNodeId(UA_NodeId& id, long namespaceIndex, long identifier);

}  // namespace nimb
