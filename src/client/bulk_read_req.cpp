#include "client/bulk_read_req.h"

#include <cstddef>
#include <utility>

namespace nimb {

BulkReadReq::BulkReadReq(NodeIdArray ids, const UA_UInt32* attributeIds) : ids_(std::move(ids)) {
    request_.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request_.nodesToRead = ids_.readValueIds();
    request_.nodesToReadSize = ids_.size();
    for (std::size_t i = 0; i < ids_.size(); ++i) {
        request_.nodesToRead[i].attributeId = attributeIds[i];
    }
}

}  // namespace nimb
