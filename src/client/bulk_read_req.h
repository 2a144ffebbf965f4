#pragma once

#include "client/node_id_array.h"
#include "convert/owned.h"

namespace nimb {

/// A Read request prepared once and sent at every poll. It owns its node ids, so it outlives what
/// it was built from, disconnects and reconnects.
class BulkReadReq {
  public:
    /// A request of attributes with both timestamps.
    /// @param attributeIds  one for each node
    BulkReadReq(NodeIdArray ids, const UA_UInt32* attributeIds);

    [[nodiscard]] const UA_ReadRequest& request() const { return *request_; }

  private:
    OwnedReadRequest request_;
};

}  // namespace nimb
