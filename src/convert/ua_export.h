#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include <cstddef>
#include <span>
#include <string>

#include "convert/owned.h"

namespace nimb {

class VeltoList;
class VeltoROList;

/// Values of UACExport::variantMode. Any other value acts as VARIANT_SCALAR.
enum VariantMode : int {
    VARIANT_FULL = 0,            ///< the self-describing form
    VARIANT_SCALAR_OR_FULL = 1,  ///< scalars bare, the rest in the self-describing form
    VARIANT_SCALAR = 2,          ///< scalars bare, the rest as a null item
    VARIANT_NESTED = 3,          ///< scalars bare, arrays as nested lists
};

/// Values of UACExport::dataValueMode. Any other value emits every part.
enum DataValueMode : int {
    DATA_VALUE_ONLY = 1,
    DATA_VALUE_SOURCE_TIME = 2,
    DATA_VALUE_SERVER_TIME = 3,
    DATA_VALUE_WITH_TIMES = 4,       ///< source time, server time, status, value
    DATA_VALUE_WITH_TIMES_FLAT = 5,  ///< the same; failures of the value keep their own kind
};

/// Values of UACExport::dateMode. Any other value emits nothing.
enum DateMode : int {
    DATE_HOROLOG = 0,
    DATE_UA_INTEGER = 1,
    DATE_ODBC = 2,
    DATE_UNIX = 3,  ///< always refused
};

/// Values of UACExport::stringMode. Any other value emits nothing.
enum StringMode : int {
    STRING_BYTES = 0,           ///< the bytes as an 8-bit string
    STRING_UTF16 = 1,           ///< UTF-16; invalid UTF-8 is an error
    STRING_UTF16_OR_EMPTY = 2,  ///< UTF-16 without a character cut off at the end; other
                                ///< invalid UTF-8 becomes an empty 8-bit string
};

/// Type indexes of the two composites, as hosts know them; the stack's own table has other numbers.
/// Everything else is known by its position in UA_TYPES, 0 Boolean to 24 DiagnosticInfo.
inline constexpr long kReferenceDescriptionIndex = 94;
inline constexpr long kBrowseResultIndex = 95;

/// Turns stack values into list items and host values into stack values.
///
/// Set the six fields, then convert; the object keeps nothing between calls and owns nothing. Lists
/// and values must be there unless a member says otherwise. Failures raise a UACErr; what was
/// appended before stays in the list, except for nested lists that were not complete. An exhausted
/// memory raises std::bad_alloc where a member names no error of its own for it.
class UACExport {
  public:
    int variantMode = VARIANT_FULL;
    int dataValueMode = 0;
    int reserved3 = 0;  ///< callers set it to 0 or 1; nothing consults it
    int reserved4 = 0;  ///< callers set it to 0 or 1; nothing consults it
    int dateMode = DATE_HOROLOG;
    int stringMode = STRING_BYTES;

    /// @name Stack values to list items
    /// @{

    /// Appends the value of the type with index `typeIndex`; a null value as an empty 8-bit string.
    /// `flat` spreads a qualified name or localized text over two items and a node id over its
    /// parts, instead of a nested list. Returns the type index; -1 for a flat qualified name or
    /// localized text; for a variant the result of UA2CL_Variant.
    long addToVeltoList(VeltoList* list, long typeIndex, const void* value, bool flat) const;

    /// As addToVeltoList, never flat, for the indexes below 24 and the two composites.
    long addToVeltoListB(VeltoList* list, long typeIndex, const void* value) const;

    /// As addToVeltoList, not flat, with every failure raised as a UACErr. The list may be null,
    /// which is one of the failures.
    long UA2CL(VeltoList* list, long typeIndex, const void* value) const;

    /// Appends the parts that `dataValueMode` selects. Timestamps are written whether the value has
    /// them or not: an absent one is the DateTime 0. Returns 22.
    long UA2CL_DataValue(VeltoList* list, const UA_DataValue* dataValue) const;

    /// Appends the items of UA2CL_DataValue as one nested list.
    void addNestedDataValue(VeltoList* list, const UA_DataValue& dataValue) const;

    /// Appends the items that addNestedDataValue writes for the value alone; raises a UACErr for a
    /// value that hosts have no form for, and may leave a part of it behind then.
    void addValue(VeltoList* list, const UA_Variant& value) const;
    /// Appends source time, server time, status and a value that addValue() wrote, as one nested
    /// list: what addNestedDataValue writes with DATA_VALUE_WITH_TIMES.
    void addNestedDataValue(VeltoList* list, UA_DateTime sourceTime, UA_DateTime serverTime,
                            UA_StatusCode status, std::span<const unsigned char> value) const;

    /// Appends [value, source time] as one nested list where the value is a scalar number or a
    /// short text and dates are ODBC text; otherwise appends nothing and returns false.
    bool addNestedShortAndTime(VeltoList* list, const UA_DataValue& dataValue) const;

    /// Appends the variant as `variantMode` says. `flat` adds the dimension count behind a nested
    /// array. Returns 23, for a bare scalar what addToVeltoList returns, for a null item 0.
    long UA2CL_Variant(VeltoList* list, const UA_Variant* variant, bool flat) const;

    /// Appends the self-describing form of a scalar variant; refuses the others.
    void UA2CL_Variant_FullVeltoListOnly(VeltoList* list, const UA_Variant* variant) const;

    /// Appends the part of an array that lies below dimension `depth`: one nested list per
    /// dimension, elements at depth `dimCount`. `strides` holds bytes per step of each dimension.
    void UA2CL_Variant_Aux1(VeltoList* list, long typeIndex, const void* data, int dimCount,
                            int depth, const int* dims, const int* strides) const;

    /// Appends namespace index, identifier, identifier type and the identifier's type index; for an
    /// expanded node id, which then takes the place of `id`, also namespace URI and server index.
    void UA2CL_NodeId(VeltoList* list, const UA_NodeId* id, const UA_ExpandedNodeId* expanded,
                      bool flat) const;
    void UA2CL_ExpandedNodeId(VeltoList* list, const UA_ExpandedNodeId* id, bool flat) const;

    /// Appends one nested list. The node class is left empty: Compatibility C20.
    void UA2CL_ReferenceDescription(VeltoList* list, const UA_ReferenceDescription* rd) const;
    /// Appends one nested list. Continuation points are left empty: Compatibility C20.
    void UA2CL_BrowseResult(VeltoList* list, const UA_BrowseResult* result) const;
    /// Bytes that UA2CL_BrowseResult appends at least.
    [[nodiscard]] static std::size_t leastBytes(const UA_BrowseResult& result);

    /// Appends the raw bytes as an 8-bit string.
    static void UA2CL_ByteString(VeltoList* list, const UA_String* bytes);
    /// Always refuses: Compatibility C23.
    [[noreturn]] static void UA2CL_Guid(VeltoList* list, const UA_Guid* guid);

    /// Appends a string by `stringMode`.
    void add(VeltoList* list, const UA_String* text) const;

    /// Bytes of an array element of the type. Raises a UACErr for an index outside 0 to 24.
    static int getTypeWidth(long typeIndex);
    /// @}

    /// @name Dates
    /// Always UTC. `wholeSeconds` leaves the fraction out.
    /// @{

    /// Appends "day,second.microseconds" as 16-bit text, the last 100-ns digit dropped; "47117,0"
    /// for instants outside the days 47117 (1970-01-01) to 99999 (2114-10-15), save that the second
    /// before 1970 counts as the one after it.
    static void addAsHorolog(VeltoList* list, const UA_DateTime* time, bool wholeSeconds);
    /// Appends "YYYY-MM-DD hh:mm:ss.fffffff" as 16-bit text; years of five digits cost the text its
    /// last characters, because it never grows beyond 27.
    static void addAsODBCDate(VeltoList* list, const UA_DateTime* time, bool wholeSeconds);
    /// Appends the 100-ns count as an integer.
    static void addAsUADateTime(VeltoList* list, const UA_DateTime* time);
    /// Always refuses.
    [[noreturn]] static void addAsUnixTime(VeltoList* list, const UA_DateTime* time);

    /// Reads item `item` of `args`, a $HOROLOG value, as a UA_DateTime. Any number is taken; the
    /// arithmetic wraps. Digits beyond the seventh of a fraction push the leading ones out, which
    /// hosts are used to. Throws std::exception for a missing item or one that is no date.
    static void read(long* out, const VeltoROList* args, int item, bool wholeSeconds);
    /// @}

    /// @name Strings
    /// The last parameter of the UTF-16 conversions is part of their calling convention and has no
    /// function. Invalid text raises a UACErr; so does every other failure of a UTF-16 conversion.
    /// @{

    static std::string UAString2AString(const UA_String* text);
    /// A view of the string's buffer up to its first zero byte: borrowed, not to be cleared.
    static UA_String AString2UAString(std::string* text);
    static std::u16string UAString2XString(const UA_String* text, void** extra = nullptr);
    static std::u16string UAString2WString(const UA_String* text, void** extra = nullptr) {
        return UAString2XString(text, extra);
    }
    /// The data comes from malloc, also for an empty text: the stack sends a null pointer as a null
    /// string, anything else of length 0 as an empty one.
    static OwnedString XString2UAString(const std::u16string* text, void** extra = nullptr);
    static OwnedString WString2UAString(const std::u16string* text, void** extra = nullptr) {
        return XString2UAString(text, extra);
    }

    /// Decodes host escapes: two backslashes for one, backslash-u and four hexadecimal digits for a
    /// UTF-16 unit. Any other backslash ends the text there. All other bytes pass unchanged. Raises
    /// a UACErr for half of a surrogate pair.
    static std::string Escaped2UTF8(const char* text, unsigned long length);
    /// @}

    /// Writes a node id as one line for the log, with a terminating zero, into `buffer`, which has
    /// room for printedNodeIdCapacity() bytes. Returns `buffer`; untouched for a null id and for
    /// string identifiers in a string mode other than 0 and 1.
    static char* printNodeId(const UA_NodeId* id, char* buffer);

  private:
    /// addToVeltoList for everything that is not a number.
    long addStructured(VeltoList* list, long typeIndex, const void* value, bool flat) const;
    void addDate(VeltoList* list, const UA_DateTime* time) const;
    void addQualifiedName(VeltoList* list, const UA_QualifiedName& name, bool flat) const;
    void addLocalizedText(VeltoList* list, const UA_LocalizedText& text, bool flat) const;
    void addDataValueParts(VeltoList* list, const UA_DataValue& dataValue) const;
    void addTimesAndValue(VeltoList* list, const UA_DataValue& dataValue) const;
    void addEveryPart(VeltoList* list, const UA_DataValue& dataValue) const;
    void addNestedArray(VeltoList* list, const UA_Variant& variant, bool flat) const;
    void addFullForm(VeltoList* list, const UA_Variant& scalar) const;
};

/// Bytes that UACExport::printNodeId may write for this id, terminating zero included.
[[nodiscard]] std::size_t printedNodeIdCapacity(const UA_NodeId& id);

}  // namespace nimb
