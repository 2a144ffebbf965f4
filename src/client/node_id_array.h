#pragma once

#include <open62541/types_generated.h>

#include <cstddef>

namespace nimb {

/// Owner of a fixed number of node ids and of their string identifiers. Each lies where a Read
/// request wants it, so that a request can refer to them as they are.
class NodeIdArray {
  public:
    NodeIdArray() = default;
    /// @throws std::bad_alloc
    explicit NodeIdArray(std::size_t count);
    NodeIdArray(const NodeIdArray&) = delete;
    NodeIdArray& operator=(const NodeIdArray&) = delete;
    NodeIdArray(NodeIdArray&& other) noexcept;
    NodeIdArray& operator=(NodeIdArray&& other) noexcept;
    ~NodeIdArray();

    [[nodiscard]] std::size_t size() const { return size_; }
    UA_NodeId& operator[](std::size_t i) { return nodes_[i].nodeId; }
    const UA_NodeId& operator[](std::size_t i) const { return nodes_[i].nodeId; }

    /// The nodes as a Read request refers to them; owned by this object.
    [[nodiscard]] UA_ReadValueId* readValueIds() { return nodes_; }

  private:
    UA_ReadValueId* nodes_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace nimb
