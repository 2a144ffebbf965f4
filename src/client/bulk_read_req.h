#pragma once

#include <open62541/types_generated.h>

#include "client/node_id_array.h"

namespace nimb {

/// A Read request prepared once and sent at every poll. It owns its node ids, so it outlives what
/// it was built from, disconnects and reconnects.
class BulkReadReq {
  public:
    /// A request of attributes with both timestamps.
    /// @param attributeIds  one for each node
    BulkReadReq(NodeIdArray ids, const UA_UInt32* attributeIds);

    BulkReadReq(const BulkReadReq&) = delete;
    BulkReadReq& operator=(const BulkReadReq&) = delete;
    ~BulkReadReq() = default;

    [[nodiscard]] const UA_ReadRequest& request() const { return request_; }

  private:
    NodeIdArray ids_;
    UA_ReadRequest request_{};  ///< its nodes are those of ids_
};

}  // namespace nimb
