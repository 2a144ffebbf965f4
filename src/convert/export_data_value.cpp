#include "convert/number_items.h"
#include "convert/odbc_date.h"
#include "convert/short_text.h"
#include "convert/string_convert.h"
#include "convert/type_index.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/item_writer.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

// Nearly all values of a plant are scalar numbers and short texts. Their items have a largest size,
// so that one check of room does for all that is written of a value.

constexpr std::size_t kDateRoom = ItemWriter::kHeaderBytes + kOdbcDateBytes;
constexpr std::size_t kStatusRoom = ItemWriter::kHeaderBytes + sizeof(UA_StatusCode);
constexpr std::size_t kTimesRoom = 2 * kDateRoom + kStatusRoom;

[[gnu::always_inline]] inline void writeDate(ItemWriter& items, UA_DateTime time) {
    writeOdbcDate(time, items.appendItem(item_code::kUnicode, kOdbcDateBytes));
}

[[gnu::always_inline]] inline void writeTimes(ItemWriter& items, UA_DateTime sourceTime,
                                              UA_DateTime serverTime, UA_StatusCode status) {
    writeDate(items, sourceTime);
    writeDate(items, serverTime);
    items += static_cast<long long>(status);
}

[[gnu::always_inline]] inline void writeTimes(ItemWriter& items, const UA_DataValue& dataValue) {
    writeTimes(items, dataValue.sourceTimestamp, dataValue.serverTimestamp, dataValue.status);
}

const UA_String& stringIn(const UA_Variant& value) {
    return *static_cast<const UA_String*>(value.data);
}

/// How the item of a value is written, if it is a scalar number or a short text: then its writing
/// cannot fail.
struct ShortForm {
    std::size_t room = 0;  ///< for the item; 0 for all that writeShort() does not write
    long typeIndex = -1;
};

/// Inlined by force, like writeShort(): a call would cost as much as what it tells.
[[gnu::always_inline]] inline ShortForm shortFormOf(const UACExport& exporter,
                                                    const UA_Variant& value) {
    if (exporter.variantMode == VARIANT_FULL || exporter.dateMode != DATE_ODBC ||
        !isScalar(value)) {
        return {};
    }
    const long typeIndex = typeIndexOf(value.type);
    if (isNumber(typeIndex)) {
        return {ItemWriter::kNumberRoom, typeIndex};
    }
    if (typeIndex == UA_TYPES_STRING && textsCannotFail(exporter.stringMode)) {
        return {shortTextRoom(bytesOf(stringIn(value))), typeIndex};
    }
    return {};
}

[[gnu::always_inline]] inline void writeShort(const UACExport& exporter, ItemWriter& items,
                                              const UA_Variant& value, const ShortForm& form) {
    if (!appendNumber(items, form.typeIndex, value.data)) {
        writeShortText(items, bytesOf(stringIn(value)), exporter.stringMode);
    }
}

/// A value of any form. Out of the way of those with a short form, which then need no room on the
/// stack for its conversion and its failures.
[[gnu::noinline]] void addNestedParts(const UACExport& exporter, VeltoList* list,
                                      const UA_DataValue& dataValue) {
    NestedList nested(*list);
    exporter.UA2CL_DataValue(list, &dataValue);
    nested.close();
}

}  // namespace

long UACExport::UA2CL_DataValue(VeltoList* list, const UA_DataValue* dataValue) const {
    orError(
        [&] { addDataValueParts(list, *dataValue); },
        [] { return UACErr(UACERR_APPLICATION, APPERR_VARIANT_CONVERSION, "UA2CL_DataValue"); });
    return UA_TYPES_DATAVALUE;
}

void UACExport::addNestedDataValue(VeltoList* list, const UA_DataValue& dataValue) const {
    const ShortForm form =
        dataValueMode == DATA_VALUE_WITH_TIMES ? shortFormOf(*this, dataValue.value) : ShortForm();
    if (form.room == 0 || !ItemWriter::fits(kTimesRoom + form.room)) {
        addNestedParts(*this, list, dataValue);
        return;
    }
    ItemWriter items(*list, ItemWriter::kHeaderBytes + kTimesRoom + form.room);
    ItemWriter::Nested nested(items);
    writeTimes(items, dataValue);
    writeShort(*this, items, dataValue.value, form);
    nested.close();
    items.commit(1);
}

void UACExport::addValue(VeltoList* list, const UA_Variant& value) const {
    if (const ShortForm form = shortFormOf(*this, value); form.room != 0) {
        ItemWriter items(*list, form.room);
        writeShort(*this, items, value, form);
        items.commit(1);
        return;
    }
    UA2CL(list, UA_TYPES_VARIANT, &value);
}

void UACExport::addNestedDataValue(VeltoList* list, UA_DateTime sourceTime, UA_DateTime serverTime,
                                   UA_StatusCode status,
                                   std::span<const unsigned char> value) const {
    if (dateMode == DATE_ODBC && ItemWriter::fits(kTimesRoom + value.size())) {
        ItemWriter items(*list, ItemWriter::kHeaderBytes + kTimesRoom + value.size());
        ItemWriter::Nested nested(items);
        writeTimes(items, sourceTime, serverTime, status);
        items.appendItems(value);
        nested.close();
        items.commit(1);
        return;
    }
    NestedList nested(*list);
    addDate(list, &sourceTime);
    addDate(list, &serverTime);
    *list += static_cast<long long>(status);
    list->appendList({value.data(), value.size()});
    nested.close();
}

bool UACExport::addNestedShortAndTime(VeltoList* list, const UA_DataValue& dataValue) const {
    const ShortForm form = shortFormOf(*this, dataValue.value);
    if (form.room == 0 || !ItemWriter::fits(form.room + kDateRoom)) {
        return false;
    }
    ItemWriter items(*list, ItemWriter::kHeaderBytes + form.room + kDateRoom);
    ItemWriter::Nested nested(items);
    writeShort(*this, items, dataValue.value, form);
    writeDate(items, dataValue.sourceTimestamp);
    nested.close();
    items.commit(1);
    return true;
}

void UACExport::addDataValueParts(VeltoList* list, const UA_DataValue& dataValue) const {
    switch (dataValueMode) {
        case DATA_VALUE_ONLY:
            addToVeltoList(list, UA_TYPES_VARIANT, &dataValue.value, false);
            break;
        case DATA_VALUE_SOURCE_TIME:
            addDate(list, &dataValue.sourceTimestamp);
            break;
        case DATA_VALUE_SERVER_TIME:
            addDate(list, &dataValue.serverTimestamp);
            break;
        case DATA_VALUE_WITH_TIMES:
        case DATA_VALUE_WITH_TIMES_FLAT:
            addTimesAndValue(list, dataValue);
            break;
        default:
            addEveryPart(list, dataValue);
            break;
    }
}

void UACExport::addTimesAndValue(VeltoList* list, const UA_DataValue& dataValue) const {
    if (const ShortForm form = shortFormOf(*this, dataValue.value); form.room != 0) {
        ItemWriter items(*list, kTimesRoom + form.room);
        writeTimes(items, dataValue);
        writeShort(*this, items, dataValue.value, form);
        items.commit(4);
        return;
    }
    addDate(list, &dataValue.sourceTimestamp);
    addDate(list, &dataValue.serverTimestamp);
    *list += static_cast<long long>(dataValue.status);
    if (dataValueMode == DATA_VALUE_WITH_TIMES) {
        UA2CL(list, UA_TYPES_VARIANT, &dataValue.value);
    } else {
        addToVeltoList(list, UA_TYPES_VARIANT, &dataValue.value, true);
    }
}

void UACExport::addEveryPart(VeltoList* list, const UA_DataValue& dataValue) const {
    UA2CL(list, UA_TYPES_VARIANT, &dataValue.value);
    addDate(list, &dataValue.sourceTimestamp);
    addDate(list, &dataValue.serverTimestamp);
    *list += int{dataValue.sourcePicoseconds};
    *list += int{dataValue.serverPicoseconds};
    *list += static_cast<long long>(dataValue.status);
    for (const bool has : {dataValue.hasValue, dataValue.hasStatus, dataValue.hasSourceTimestamp,
                           dataValue.hasServerTimestamp, dataValue.hasSourcePicoseconds,
                           dataValue.hasServerPicoseconds}) {
        *list += has ? 1 : 0;
    }
}

}  // namespace nimb
