#include "client/bulk_read_req.h"

#include "client/node_id_array.h"

namespace nimb {

UACErr BulkReadReq::setup(const NodeIdArray& ids, const UA_UInt32* attributeIds) {
    request_.reset();
    request_->timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    void* nodes = UA_Array_new(ids.size(), &UA_TYPES[UA_TYPES_READVALUEID]);
    if (nodes == nullptr) {
        return UACErr::outOfMemory();
    }
    request_->nodesToRead = static_cast<UA_ReadValueId*>(nodes);
    request_->nodesToReadSize = ids.size();
    for (std::size_t i = 0; i < ids.size(); ++i) {
        UA_ReadValueId& node = request_->nodesToRead[i];
        node.attributeId = attributeIds[i];
        if (UA_NodeId_copy(&ids[i], &node.nodeId) != UA_STATUSCODE_GOOD) {
            request_.reset();
            return UACErr::outOfMemory();
        }
    }
    return {};
}

}  // namespace nimb
