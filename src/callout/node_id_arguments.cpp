#include <cstdint>
#include <limits>

#include "callout/opcua_static.h"
#include "client/host_string.h"
#include "client/node_id_array.h"

namespace nimb {

namespace {

/// Numeric identifiers have 32 bits without a sign; the bits beyond them are dropped (Compatibility
/// C17). AsLong stops at the ends of the signed range: from there on the number in full tells.
long numericIdentifier(const VeltoListItem& item) {
    using Limits = std::numeric_limits<std::int32_t>;
    const long value = item.AsLong();
    return value == Limits::min() || value == Limits::max() ? item.AsLongLong() : value;
}

}  // namespace

bool OpcuaStatic::getNodeId(UA_NodeId* out, const VeltoListItem& type, const VeltoListItem& index,
                            const VeltoListItem& identifier) {
    try {
        const long namespaceIndex = index.AsLong();
        switch (type.AsLong()) {
            case UA_NODEIDTYPE_NUMERIC:
                setNumericNodeId(*out, namespaceIndex, numericIdentifier(identifier));
                return true;
            case UA_NODEIDTYPE_STRING:
                setStringNodeId(*out, namespaceIndex, hostString(identifier));
                return true;
            default:
                return false;
        }
    } catch (...) {
        return false;
    }
}

bool OpcuaStatic::getNodeId(UA_NodeId* out, const VeltoROList* typeList, std::size_t typeItem,
                            const VeltoROList* nsList, std::size_t nsItem,
                            const VeltoROList* idList, std::size_t idItem) {
    try {
        // Taken in ascending order, in which a list is walked fastest.
        const VeltoListItem identifier = idList->at(idItem);
        const VeltoListItem index = nsList->at(nsItem);
        return getNodeId(out, typeList->at(typeItem), index, identifier);
    } catch (...) {
        return false;
    }
}

UACErr OpcuaStatic::getNodeIds(NodeIdArray& out, const VeltoROList& types,
                               const VeltoROList& namespaces, const VeltoROList& identifiers) {
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (!getNodeId(&out[i], &types, i, &namespaces, i, &identifiers, i)) {
            return {UACERR_APPLICATION, APPERR_BAD_NODE_ID, "idx = %d", static_cast<int>(i)};
        }
    }
    return {};
}

}  // namespace nimb
