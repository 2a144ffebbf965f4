#pragma once

#include <compare>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "list/ro_list.h"

namespace nimb::host {

/// A text that should name a node and does not; what() quotes it.
class BadNode : public std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

/// A node as automation engineers write it: "ns=2;s=Tank1.Level" or "i=2258". GUID and byte string
/// identifiers (g=, b=) cannot be given to the entries, so there are none here.
struct NodeId {
    std::uint16_t nameSpace = 0;
    std::uint32_t number = 0;
    std::string text;  ///< UTF-8; empty when the identifier is the number

    bool isText() const noexcept { return !text.empty(); }
    friend auto operator<=>(const NodeId&, const NodeId&) = default;
};

/// Reads one node. Throws BadNode.
NodeId parseNode(std::string_view text);

/// Reads nodes with white space between them. An identifier may hold blanks itself: the next node
/// begins where white space is followed by "ns=" or by "i=" or "s=". Throws BadNode, also when
/// there is none.
std::vector<NodeId> parseNodes(std::string_view text);

/// The node's notation, which parseNode() reads.
std::string notation(const NodeId& node);

/// A node id among results: namespace, identifier, identifier type and more.
/// @return its notation; "g=" and "b=" without the identifier, which results do not hold
std::string notationOf(const VeltoROList& fields);

/// The identifier's type as arguments have it: 0 number, 3 text.
inline int identifierType(const NodeId& node) { return node.isText() ? 3 : 0; }

}  // namespace nimb::host
