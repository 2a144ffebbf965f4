#pragma once

#include "list/ro_list.h"
#include "sessions.h"

/// Whether the adapter's answers say what the bare stack's say, decoded by other means than the
/// library's own. Everything throws std::runtime_error with the place that differs.
namespace nimb::bench {

/// The three layouts of a bulk read, and that of a single one.
enum class Layout { pollA, pollB, pollC, single };

/// Source time stamps, status and values of all nodes.
void checkRead(Layout layout, bool wideText, const VeltoROList& results,
               const UA_ReadResponse& expected);

/// The browse names of all references of the one browsed node.
void checkBrowse(const VeltoROList& results, const UA_BrowseResponse& expected);

/// That each double of the output line of a subscription is its index plus the same change.
void checkLine(const VeltoROList& line, std::size_t items);

void require(bool condition, const char* what);

}  // namespace nimb::bench
