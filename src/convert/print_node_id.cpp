#include <cstdio>

#include "convert/string_convert.h"
#include "convert/string_mode.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"

namespace nimb {
namespace {

/// Room for the longest text without an identifier string: "(65535,-2147483648)" and the like.
constexpr std::size_t kFixedCapacity = 32;

void printStringId(const UA_NodeId& id, char* buffer) {
    if (hostTexts() == HostTexts::ignored) {
        return;
    }
    const std::string_view bytes = bytesOf(id.identifier.string);
    const std::string dump =
        UAC_GetHexDebugString(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    // Through std::string: the precision of a %.*s must never turn negative.
    const std::string text(bytes);
    std::snprintf(buffer, printedNodeIdCapacity(id), "(%d,'%s') [%s]", id.namespaceIndex,
                  text.c_str(), dump.c_str());
}

}  // namespace

std::size_t printedNodeIdCapacity(const UA_NodeId& id) {
    if (id.identifierType != UA_NODEIDTYPE_STRING) {
        return kFixedCapacity;
    }
    // Each byte once as it is and three characters of the dump.
    return kFixedCapacity + 4 * bytesOf(id.identifier.string).size();
}

char* UACExport::printNodeId(const UA_NodeId* id, char* buffer) {
    if (id == nullptr) {
        return buffer;
    }
    switch (id->identifierType) {
        case UA_NODEIDTYPE_NUMERIC:
            std::snprintf(buffer, kFixedCapacity, "(%d,%lld)", id->namespaceIndex,
                          static_cast<long long>(id->identifier.numeric));
            break;
        case UA_NODEIDTYPE_STRING:
            printStringId(*id, buffer);
            break;
        default:
            std::snprintf(buffer, kFixedCapacity, "(%d,[G/B/O]),)", id->namespaceIndex);
            break;
    }
    return buffer;
}

}  // namespace nimb
