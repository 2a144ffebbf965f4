#pragma once

#include <vector>

#include "client/node_id_array.h"
#include "errors/uac_err.h"

namespace nimb {

class VeltoListItem;
class VeltoROList;

/// The nodes and attributes that a host names in one list, for bulk reads and subscriptions.
///
/// The host's container has the property list as its item 2. Item 0 of the property list is the
/// host's own; each further item is a property: a list whose item 2 is a namespace index, item 3 a
/// node name and item 4 an attribute id.
class Specification {
  public:
    /// Parses a container in place of what was held before.
    /// @return an error whose text names the property by its 1-based position; the specification
    ///         is then not to be used
    UACErr set(const VeltoROList& container);

    [[nodiscard]] std::size_t count() const { return nodeIds_.size(); }
    [[nodiscard]] NodeIdArray& nodeIds() { return nodeIds_; }
    /// One attribute id for each node.
    [[nodiscard]] const UA_UInt32* attributeIds() const { return attributeIds_.data(); }

  private:
    UACErr parse(const VeltoROList& container);
    UACErr allocate(std::size_t count);
    UACErr setProperty(std::size_t n, const VeltoListItem& property);

    NodeIdArray nodeIds_;
    std::vector<UA_UInt32> attributeIds_;
};

}  // namespace nimb
