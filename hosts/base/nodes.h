#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"
#include "base/value.h"

namespace nimb::host {

/// What a node is. Read once, as results do not tell.
struct NodeInfo {
    std::string name{};         ///< browse name; the node's notation where there is none
    int nodeClass = 0;          ///< 1 object, 2 variable, 4 method, ...; 0: no such node
    Type type = Type::unknown;  ///< of its values
    int rank = -2;              ///< ValueRank: -1 scalar, 0 and more array, less: either
    bool writable = false;      ///< by the session's user
};

/// The description of nodes, shared with what was read by it.
using Infos = std::shared_ptr<const std::vector<NodeInfo>>;

/// "Object", "Variable", ...; empty for a number that is no class.
const char* classNameOf(int nodeClass) noexcept;

/// One attribute of each node, as the items of a poll: source time, server time, status, value.
/// @return a list each; empty for an attribute or node that is not there, and for a node whose text
///         identifier is a whole number, which the entry cannot name
/// Throws as Connection::call, TooLong for a single attribute that does not fit.
std::vector<VeltoList> readAttribute(Connection& connection, std::span<const NodeId> nodes,
                                     int attribute);

/// A reference from a browsed node.
struct Reference {
    std::string name;  ///< browse name of the target
    std::string node;  ///< its notation
    NodeId type;       ///< of the reference
};

/// The forward references of a node. Throws as Connection::reading, and TooLong naming the node.
std::vector<Reference> browse(Connection& connection, const NodeId& node);

/// What nodes are, with their data types brought back to built-in ones: a type that is none is
/// looked for among the subtypes, from the root of all types down. What was found is remembered.
class NodeCatalogue {
  public:
    explicit NodeCatalogue(Connection& connection) : connection_(connection) {}

    /// Throws as Connection::reading.
    std::vector<NodeInfo> describe(std::span<const NodeId> nodes);

  private:
    Type builtInOf(const std::string& dataType);
    void walkTypes();

    Connection& connection_;
    std::map<std::string, Type> derived_;
    bool walked_ = false;
};

}  // namespace nimb::host
