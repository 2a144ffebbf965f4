#include "client/node_id_array.h"

#include <new>
#include <utility>

#include "convert/clear_values.h"

namespace nimb {

NodeIdArray::NodeIdArray(std::size_t count) : size_(count) {
    nodes_ = static_cast<UA_ReadValueId*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_READVALUEID]));
    if (nodes_ == nullptr) {
        throw std::bad_alloc();
    }
}

NodeIdArray::NodeIdArray(NodeIdArray&& other) noexcept
    : nodes_(std::exchange(other.nodes_, nullptr)), size_(std::exchange(other.size_, 0)) {}

NodeIdArray& NodeIdArray::operator=(NodeIdArray&& other) noexcept {
    std::swap(nodes_, other.nodes_);
    std::swap(size_, other.size_);
    return *this;
}

NodeIdArray::~NodeIdArray() {
    for (std::size_t i = 0; i < size_; ++i) {
        freeBytes(nodes_[i].nodeId);
    }
    freeBlock(nodes_);
}

}  // namespace nimb
