#include <cassert>
#include <cstring>

#include "convert/number_items.h"
#include "convert/short_text.h"
#include "convert/string_convert.h"
#include "convert/ua_export.h"
#include "convert/utf.h"
#include "list/item_writer.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

template <typename T>
const T& as(const void* value) {
    return *static_cast<const T*>(value);
}

UACErr nullInput(const char* which) {
    return {UACERR_CLIENT, APPERR_VARIANT_CONVERSION, "UA2CL null input %s", which};
}

void appendBytes(VeltoList& list, std::string_view bytes) {
    unsigned char* payload = list.appendItem(item_code::kBytes, bytes.size());
    if (!bytes.empty()) {
        std::memcpy(payload, bytes.data(), bytes.size());
    }
}

/// Appends UTF-8 as a UTF-16 item. False, and nothing appended, when it is not valid.
bool appendUtf16(VeltoList& list, std::string_view text) {
    if (const std::size_t room = shortTextRoom(text); room != 0) {
        ItemWriter items(list, room);
        const bool valid = writeShortUtf16(items, text);
        items.commit(valid ? 1 : 0);
        return valid;
    }
    const auto units = utf16Length(text);
    if (units) {
        // Room for one unit a byte, as writeUtf16() wants it; what is too much serves later items.
        list.ensureBuffer(list.datalength() + ItemHeader::kLongBytes + 1 + 2 * text.size());
        unsigned char* payload = list.appendItem(item_code::kUnicode, 2 * *units);
        assert(payload + 2 * text.size() <= list.data() + list.capacity());
        writeUtf16(text, payload);
    }
    return units.has_value();
}

}  // namespace

long UACExport::addToVeltoList(VeltoList* list, long typeIndex, const void* value,
                               bool flat) const {
    if (value == nullptr) {
        appendBytes(*list, {});
        return typeIndex;
    }
    return appendNumber(*list, typeIndex, value) ? typeIndex
                                                 : addStructured(list, typeIndex, value, flat);
}

long UACExport::addStructured(VeltoList* list, long typeIndex, const void* value, bool flat) const {
    switch (typeIndex) {
        case UA_TYPES_STRING:
        case UA_TYPES_XMLELEMENT:
            add(list, &as<UA_String>(value));
            return typeIndex;
        case UA_TYPES_DATETIME:
            addDate(list, &as<UA_DateTime>(value));
            return typeIndex;
        case UA_TYPES_BYTESTRING:
            UA2CL_ByteString(list, &as<UA_ByteString>(value));
            return typeIndex;
        case UA_TYPES_NODEID:
            UA2CL_NodeId(list, &as<UA_NodeId>(value), nullptr, flat);
            return typeIndex;
        case UA_TYPES_EXPANDEDNODEID:
            UA2CL_ExpandedNodeId(list, &as<UA_ExpandedNodeId>(value), flat);
            return typeIndex;
        case UA_TYPES_QUALIFIEDNAME:
            addQualifiedName(list, as<UA_QualifiedName>(value), flat);
            return flat ? -1 : typeIndex;
        case UA_TYPES_LOCALIZEDTEXT:
            addLocalizedText(list, as<UA_LocalizedText>(value), flat);
            return flat ? -1 : typeIndex;
        case UA_TYPES_DATAVALUE:
            return UA2CL_DataValue(list, &as<UA_DataValue>(value));
        case UA_TYPES_VARIANT:
            return UA2CL_Variant(list, &as<UA_Variant>(value), true);
        case UA_TYPES_GUID:
            UA2CL_Guid(list, &as<UA_Guid>(value));
        case UA_TYPES_EXTENSIONOBJECT:
            throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_ExtensionObject");
        case UA_TYPES_DIAGNOSTICINFO:
            throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_DiagnosticInfo");
        default:
            throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UnknownDataType %d",
                         static_cast<int>(typeIndex));
    }
}

long UACExport::addToVeltoListB(VeltoList* list, long typeIndex, const void* value) const {
    if (value == nullptr || typeIndex < UA_TYPES_DIAGNOSTICINFO) {
        return addToVeltoList(list, typeIndex, value, false);
    }
    switch (typeIndex) {
        case kReferenceDescriptionIndex:
            UA2CL_ReferenceDescription(list, &as<UA_ReferenceDescription>(value));
            return typeIndex;
        case kBrowseResultIndex:
            UA2CL_BrowseResult(list, &as<UA_BrowseResult>(value));
            return typeIndex;
        default:
            throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "Unknown Type %d",
                         static_cast<int>(typeIndex));
    }
}

long UACExport::UA2CL(VeltoList* list, long typeIndex, const void* value) const {
    if (list == nullptr) {
        throw nullInput("list");
    }
    return orError(
        [&] { return addToVeltoList(list, typeIndex, value, false); },
        [&] { return value == nullptr ? nullInput("datum") : UACErr::unknown("UA2CL"); });
}

void UACExport::add(VeltoList* list, const UA_String* text) const {
    const std::string_view bytes = bytesOf(*text);
    if (stringMode == STRING_BYTES) {
        appendBytes(*list, bytes);
        return;
    }
    if (stringMode != STRING_UTF16 && stringMode != STRING_UTF16_OR_EMPTY) {
        return;
    }
    if (appendUtf16(*list, bytes)) {
        return;
    }
    if (stringMode == STRING_UTF16_OR_EMPTY) {
        const std::string_view whole = withoutCutCharacter(bytes);
        if (whole.empty() || !appendUtf16(*list, whole)) {
            appendBytes(*list, {});
        }
        return;
    }
    throw invalidUtf8(bytes);
}

void UACExport::addDate(VeltoList* list, const UA_DateTime* time) const {
    switch (dateMode) {
        case DATE_HOROLOG:
            addAsHorolog(list, time, false);
            break;
        case DATE_UA_INTEGER:
            addAsUADateTime(list, time);
            break;
        case DATE_ODBC:
            addAsODBCDate(list, time, false);
            break;
        case DATE_UNIX:
            addAsUnixTime(list, time);
        default:
            break;
    }
}

void UACExport::UA2CL_ByteString(VeltoList* list, const UA_String* bytes) {
    appendBytes(*list, bytesOf(*bytes));
}

void UACExport::UA2CL_Guid(VeltoList* /*list*/, const UA_Guid* /*guid*/) {
    throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_Guid");
}

}  // namespace nimb
