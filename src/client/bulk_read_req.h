#pragma once

#include "convert/owned.h"
#include "errors/uac_err.h"

namespace nimb {

class NodeIdArray;

/// A Read request prepared once and sent at every poll. It owns deep copies of its node ids, so it
/// outlives what it was built from, disconnects and reconnects.
class BulkReadReq {
  public:
    /// Builds the request anew; both timestamps are asked for.
    /// @param attributeIds  one for each node
    UACErr setup(const NodeIdArray& ids, const UA_UInt32* attributeIds);

    [[nodiscard]] const UA_ReadRequest& request() const { return *request_; }

  private:
    OwnedReadRequest request_;
};

}  // namespace nimb
