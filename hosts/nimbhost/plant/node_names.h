#pragma once

#include <string>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"
#include "base/nodes.h"

namespace nimb::nimbhost {

/// A node that the command line names.
struct NamedNode {
    std::string typed;
    host::NodeId id;
};

/// Finds the nodes that people type: "ns=2;s=Tank1.Level" and "i=2258", a path of browse names from
/// the root ("/Objects/Plant/Tank1/Level"), or a bare name, which is a text identifier in the
/// default namespace. Only paths need the server. Throws BadInput, and as Connection::reading.
std::vector<NamedNode> resolveNodes(host::Connection& connection,
                                    const std::vector<std::string>& typed, int defaultNamespace);

/// The nodes below another: its references without those that lead to types and rules.
std::vector<host::Reference> childrenOf(host::Connection& connection, const host::NodeId& node);

}  // namespace nimb::nimbhost
