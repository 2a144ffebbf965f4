#pragma once

#include <stdexcept>

#include "base/nodes.h"

namespace nimb::host {

/// A value cannot be written to a node: what() says why, without naming the node.
class Refusal : public std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

/// A number does not fit into what the node takes.
class OutOfRange : public Refusal {
    using Refusal::Refusal;
};

/// A write that was checked against what its node takes. The entry itself cuts integers to their
/// low bytes and takes floating point for a bit pattern, so all of a statement's writes are checked
/// before the first is sent.
class Write {
  public:
    /// @param value  a number, or a text for a String
    /// Throws Refusal.
    Write(const NodeId& node, const NodeInfo& info, const Value& value);

    /// Carries it out, once. Throws as Connection::write: after a timeout the value may have been
    /// written all the same.
    void send(Connection& connection) const { connection.write("zfWriteAttribute", arguments_); }

    /// Why no value at all can be written to such a node; null when there is nothing against it.
    static const char* obstacle(const NodeInfo& info) noexcept;

  private:
    VeltoList arguments_;
};

}  // namespace nimb::host
