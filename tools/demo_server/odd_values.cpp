#include <array>
#include <chrono>
#include <limits>
#include <string>
#include <thread>

#include "demo_server/address_space.h"

namespace nimb::plant {

namespace {

/// Shapes a data value that is Good and bears the source time stamp `fixedTime`.
using Shape = void (*)(UA_DataValue&);

struct OddValue {
    NodeAddress node;
    std::string_view name;
    Shape shape;
};

template <typename T>
void give(UA_DataValue& out, const T& value, std::size_t typeIndex) {
    out.value = scalar(value, typeIndex).release();
    out.hasValue = true;
}

void giveInteger(UA_DataValue& out, UA_Int32 value) { give(out, value, UA_TYPES_INT32); }
void giveReal(UA_DataValue& out, double value) { give(out, value, UA_TYPES_DOUBLE); }
void giveText(UA_DataValue& out, UA_String text) { give(out, text, UA_TYPES_STRING); }

void giveStatus(UA_DataValue& out, UA_StatusCode status) {
    out.hasStatus = true;
    out.status = status;
}

/// An Int32 array without elements: `data` tells the empty array from the null one.
void giveArray(UA_DataValue& out, void* data) {
    UA_Variant_setArray(&out.value, data, 0, &UA_TYPES[UA_TYPES_INT32]);
    out.hasValue = true;
}

constexpr std::chrono::milliseconds slowness{300};

const std::array oddValues = std::to_array<OddValue>({
    {badWithValue, "BadWithValue",
     [](UA_DataValue& out) {
         giveInteger(out, 13);
         giveStatus(out, UA_STATUSCODE_BADSENSORFAILURE);
     }},
    {badWithoutValue, "BadWithoutValue",
     [](UA_DataValue& out) { giveStatus(out, UA_STATUSCODE_BADNODATA); }},
    {uncertainWithValue, "UncertainWithValue",
     [](UA_DataValue& out) {
         giveInteger(out, 14);
         giveStatus(out, UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE);
     }},
    {goodWithoutValue, "GoodWithoutValue", [](UA_DataValue&) {}},
    {noTimestamps, "NoTimestamps",
     [](UA_DataValue& out) {
         giveInteger(out, 15);
         out.hasSourceTimestamp = false;
     }},
    {invalidUtf8, "InvalidUtf8",
     [](UA_DataValue& out) { giveText(out, borrowed("a\xFF\xC3z")); }},
    {fourByteUtf8, "FourByteUtf8",
     [](UA_DataValue& out) { giveText(out, borrowed("a\xF0\x9F\x98\x80z")); }},
    {nullString, "NullString", [](UA_DataValue& out) { giveText(out, UA_STRING_NULL); }},
    {emptyString, "EmptyString", [](UA_DataValue& out) { giveText(out, borrowed("")); }},
    {nullByteString, "NullByteString",
     [](UA_DataValue& out) { give(out, UA_BYTESTRING_NULL, UA_TYPES_BYTESTRING); }},
    {longString, "LongString",
     [](UA_DataValue& out) { giveText(out, borrowed(std::string(40000, 'x'))); }},
    {emptyArray, "EmptyArray", [](UA_DataValue& out) { giveArray(out, UA_EMPTY_ARRAY_SENTINEL); }},
    {nullArray, "NullArray", [](UA_DataValue& out) { giveArray(out, nullptr); }},
    {notANumber, "NotANumber",
     [](UA_DataValue& out) { giveReal(out, std::numeric_limits<double>::quiet_NaN()); }},
    {infinity, "Infinity",
     [](UA_DataValue& out) { giveReal(out, std::numeric_limits<double>::infinity()); }},
    {minusInfinity, "MinusInfinity",
     [](UA_DataValue& out) { giveReal(out, -std::numeric_limits<double>::infinity()); }},
    {minusZero, "MinusZero", [](UA_DataValue& out) { giveReal(out, -0.0); }},
    {denormal, "Denormal",
     [](UA_DataValue& out) { giveReal(out, std::numeric_limits<double>::denorm_min()); }},
    {slowValue, "Slow",
     [](UA_DataValue& out) {
         std::this_thread::sleep_for(slowness);
         giveInteger(out, 18);
     }},
});

UA_StatusCode readOddValue(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                           UA_Boolean, const UA_NumericRange*, UA_DataValue* out) noexcept {
    try {
        out->hasSourceTimestamp = true;
        out->sourceTimestamp = fixedTime;
        static_cast<const OddValue*>(context)->shape(*out);
        return UA_STATUSCODE_GOOD;
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

}  // namespace

void addOddValues(AddressSpace& space) {
    space.addFolder(oddFolder, "Odd");
    for (const OddValue& odd : oddValues) {
        // The stack hands contexts around as void*; the table itself is never written to.
        auto* context = const_cast<OddValue*>(&odd);
        space.addDataSource(odd.node, oddFolder, odd.name, {readOddValue, nullptr}, context);
    }
}

}  // namespace nimb::plant
