#include <array>

#include "convert/ua_export.h"
#include "errors/uac_err.h"

namespace nimb {
namespace {

/// Type indexes and sizes are fixed towards hosts and taken from the stack as it is; both must
/// hold.
static_assert(UA_TYPES_BOOLEAN == 0 && UA_TYPES_STRING == 11 && UA_TYPES_DATETIME == 12 &&
              UA_TYPES_NODEID == 16 && UA_TYPES_STATUSCODE == 18 && UA_TYPES_DATAVALUE == 22 &&
              UA_TYPES_VARIANT == 23 && UA_TYPES_DIAGNOSTICINFO == 24);
static_assert(sizeof(UA_String) == 16 && sizeof(UA_Guid) == 16 && sizeof(UA_NodeId) == 24 &&
              sizeof(UA_QualifiedName) == 24 && sizeof(UA_LocalizedText) == 32 &&
              sizeof(UA_ExpandedNodeId) == 48 && sizeof(UA_ExtensionObject) == 48 &&
              sizeof(UA_Variant) == 48 && sizeof(UA_DiagnosticInfo) == 56 &&
              sizeof(UA_DataValue) == 80);

constexpr std::array<unsigned char, 25> kWidths = {
    1,  1,  1,       // Boolean, SByte, Byte
    2,  2,           // Int16, UInt16
    4,  4,           // Int32, UInt32
    8,  8,           // Int64, UInt64
    4,  8,           // Float, Double
    16,              // String
    8,               // DateTime
    16, 16, 16,      // Guid, ByteString, XmlElement
    24, 48,          // NodeId, ExpandedNodeId
    4,               // StatusCode
    24, 32,          // QualifiedName, LocalizedText
    48, 80, 48, 56,  // ExtensionObject, DataValue, Variant, DiagnosticInfo
};

}  // namespace

int UACExport::getTypeWidth(long typeIndex) {
    if (typeIndex < 0 || typeIndex >= static_cast<long>(kWidths.size())) {
        throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UnknownDataType %d",
                     static_cast<int>(typeIndex));
    }
    return kWidths[static_cast<std::size_t>(typeIndex)];
}

}  // namespace nimb
