#include "client/host_string.h"

#include <cstring>
#include <new>
#include <string>

#include "convert/string_mode.h"
#include "convert/ua_export.h"

namespace nimb {

namespace {

OwnedString copyOfBytes(const std::string& bytes) {
    UA_String copy{};
    if (UA_ByteString_allocBuffer(&copy, bytes.size()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    if (bytes.empty()) {
        // An empty text is not the null string: the two differ on the wire.
        copy.data = static_cast<UA_Byte*>(UA_EMPTY_ARRAY_SENTINEL);
    } else {
        std::memcpy(copy.data, bytes.data(), bytes.size());
    }
    return OwnedString(copy);
}

}  // namespace

OwnedString hostString(const VeltoListItem& item) {
    switch (hostTexts()) {
        case HostTexts::bytes:
            return copyOfBytes(item.AsAString());
        case HostTexts::utf16: {
            const std::u16string units = item.AsXString();
            return UACExport::XString2UAString(&units);
        }
        default:
            return {};
    }
}

void setStringNodeId(UA_NodeId& id, long namespaceIndex, OwnedString identifier) {
    id.namespaceIndex = static_cast<UA_UInt16>(namespaceIndex);
    id.identifierType = UA_NODEIDTYPE_STRING;
    id.identifier.string = identifier.release();
}

void setNumericNodeId(UA_NodeId& id, long namespaceIndex, long identifier) {
    id.namespaceIndex = static_cast<UA_UInt16>(namespaceIndex);
    id.identifierType = UA_NODEIDTYPE_NUMERIC;
    id.identifier.numeric = static_cast<UA_UInt32>(identifier);
}

}  // namespace nimb
