#pragma once

#include <open62541/types.h>

#include <cstddef>

namespace nimb {

/// Owner of a fixed number of node ids and of their string identifiers, side by side in memory as
/// the stack wants them.
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
    UA_NodeId& operator[](std::size_t i) { return ids_[i]; }
    const UA_NodeId& operator[](std::size_t i) const { return ids_[i]; }

  private:
    UA_NodeId* ids_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace nimb
