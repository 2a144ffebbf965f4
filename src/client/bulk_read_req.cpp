#include "client/bulk_read_req.h"

namespace nimb {

BulkReadReq::BulkReadReq(NodeIdArray ids, const UA_UInt32* attributeIds) {
    request_->timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    ids.moveInto(*request_);
    for (std::size_t i = 0; i < request_->nodesToReadSize; ++i) {
        request_->nodesToRead[i].attributeId = attributeIds[i];
    }
}

}  // namespace nimb
