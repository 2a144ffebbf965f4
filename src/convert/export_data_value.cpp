#include "convert/number_items.h"
#include "convert/odbc_date.h"
#include "convert/type_index.h"
#include "convert/ua_export.h"
#include "convert/variant_shape.h"
#include "errors/uac_err.h"
#include "list/item_writer.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

// Nearly all values of a plant are scalar numbers. Their items have a largest size, so that one
// check of room does for all of them.

constexpr std::size_t kDateRoom = ItemWriter::kHeaderBytes + kOdbcDateBytes;
constexpr std::size_t kTimesRoom = 2 * kDateRoom + ItemWriter::kNumberRoom;

[[gnu::always_inline]] inline void writeDate(ItemWriter& items, UA_DateTime time) {
    writeOdbcDate(time, items.appendItem(item_code::kUnicode, kOdbcDateBytes));
}

[[gnu::always_inline]] inline void writeTimes(ItemWriter& items, const UA_DataValue& dataValue) {
    writeDate(items, dataValue.sourceTimestamp);
    writeDate(items, dataValue.serverTimestamp);
    items += static_cast<long long>(dataValue.status);
}

[[gnu::always_inline]] inline void writeNumber(ItemWriter& items, const UA_Variant& value) {
    appendNumber(items, typeIndexOf(value.type), value.data);
}

}  // namespace

bool UACExport::makesPlainNumber(const UA_Variant& value) const {
    return variantMode != VARIANT_FULL && dateMode == DATE_ODBC && isScalar(value) &&
           isNumber(typeIndexOf(value.type));
}

long UACExport::UA2CL_DataValue(VeltoList* list, const UA_DataValue* dataValue) const {
    try {
        addDataValueParts(list, *dataValue);
    } catch (const UACErr&) {
        throw;
    } catch (...) {
        throw UACErr(UACERR_APPLICATION, APPERR_VARIANT_CONVERSION, "UA2CL_DataValue");
    }
    return UA_TYPES_DATAVALUE;
}

void UACExport::addNestedDataValue(VeltoList* list, const UA_DataValue& dataValue) const {
    if (dataValueMode == DATA_VALUE_WITH_TIMES && makesPlainNumber(dataValue.value)) {
        ItemWriter items(*list, ItemWriter::kHeaderBytes + kTimesRoom + ItemWriter::kNumberRoom);
        unsigned char* nested = items.openList();
        writeTimes(items, dataValue);
        writeNumber(items, dataValue.value);
        items.closeList(nested);
        items.commit(1);
        return;
    }
    NestedList nested(*list);
    UA2CL_DataValue(list, &dataValue);
    nested.close();
}

bool UACExport::addNestedNumberAndTime(VeltoList* list, const UA_DataValue& dataValue) const {
    if (!makesPlainNumber(dataValue.value)) {
        return false;
    }
    ItemWriter items(*list, ItemWriter::kHeaderBytes + ItemWriter::kNumberRoom + kDateRoom);
    unsigned char* nested = items.openList();
    writeNumber(items, dataValue.value);
    writeDate(items, dataValue.sourceTimestamp);
    items.closeList(nested);
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
    if (makesPlainNumber(dataValue.value)) {
        ItemWriter items(*list, kTimesRoom + ItemWriter::kNumberRoom);
        writeTimes(items, dataValue);
        writeNumber(items, dataValue.value);
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
