#include "client/node_id_array.h"

#include <open62541/types_generated.h>

#include <new>
#include <utility>

namespace nimb {

NodeIdArray::NodeIdArray(std::size_t count) : size_(count) {
    ids_ = static_cast<UA_NodeId*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_NODEID]));
    if (ids_ == nullptr) {
        throw std::bad_alloc();
    }
}

NodeIdArray::NodeIdArray(NodeIdArray&& other) noexcept
    : ids_(std::exchange(other.ids_, nullptr)), size_(std::exchange(other.size_, 0)) {}

NodeIdArray& NodeIdArray::operator=(NodeIdArray&& other) noexcept {
    std::swap(ids_, other.ids_);
    std::swap(size_, other.size_);
    return *this;
}

NodeIdArray::~NodeIdArray() { UA_Array_delete(ids_, size_, &UA_TYPES[UA_TYPES_NODEID]); }

}  // namespace nimb
