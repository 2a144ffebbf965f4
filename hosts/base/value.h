#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/host_time.h"
#include "list/ro_list.h"

namespace nimb::host {

/// OPC UA's built-in types by their numbers; a variable's data type is one of them or derives from
/// one. `unknown` also stands for abstract types, whose values tell only by themselves what they
/// are.
enum class Type : std::uint8_t {
    unknown = 0,
    boolean = 1,
    sByte,
    byte,
    int16,
    uInt16,
    int32,
    uInt32,
    int64,
    uInt64,
    singleFloat,
    doubleFloat,
    string,
    dateTime,
    guid,
    byteString,
    xmlElement,
    nodeId,
    expandedNodeId,
    statusCode,
    qualifiedName,
    localizedText,
    structure,
    dataValue,
    variant,
    diagnosticInfo,
};

/// "Double", "Int32", ...; empty for `unknown`.
const char* nameOf(Type type) noexcept;

/// Bytes, as opposed to text.
struct Bytes {
    std::string data;
    friend bool operator==(const Bytes&, const Bytes&) = default;
};

struct Value;
struct Field;
using Array = std::vector<Value>;   ///< nested once for each dimension
using Record = std::vector<Field>;  ///< a value of several named parts

/// A value as a host takes it. Null: there is none, or none that can be shown.
struct Value : std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string,
                            Bytes, Ticks, Array, Record> {
    using variant::variant;
    bool isNull() const noexcept { return index() == 0; }
};

struct Field {
    const char* name;
    Value value;
};

/// What is wrong with a value that was made Null, or nothing.
using Warning = const char*;

/// Makes a value of the items that stand for it in a result, which do not tell its type: there an
/// array of one element is that element, a UInt64 from 2^63 on is negative, and String, ByteString
/// and nested list look alike.
/// @param items    the value's items and no others
/// @param rank     the node's ValueRank: -1 scalar, 0 and more array, less: either
/// @param warning  set when text in it is no UTF-8; the value, or that element, is then Null
Value valueOf(const VeltoROList& items, Type type, int rank, Warning& warning);

/// Whether a status is Bad.
constexpr bool isBad(std::uint32_t status) noexcept { return (status & 0x80000000U) != 0; }

/// Whether the values of a type are numbers or truth values.
constexpr bool isNumber(Type type) noexcept {
    return type >= Type::boolean && type <= Type::doubleFloat;
}

/// Gives `take` the bool, double or integer of an item.
/// @return false for an item that is no number
template <typename Take>
bool takeNumber(const VeltoListItem& item, Type type, Take take) {
    switch (item.Type()) {
        case item_code::kIeee:
            take(item.AsDouble());
            return true;
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            break;
        default:
            return false;
    }
    const std::int64_t number = item.AsLongLong();
    if (type == Type::boolean) {
        take(number != 0);
    } else if (type == Type::uInt64) {
        take(static_cast<std::uint64_t>(number));
    } else {
        take(number);
    }
    return true;
}

/// The value's items of a node's items in a result: source time, server time, status, value.
/// Throws std::exception when there are fewer.
VeltoROList valueItems(const VeltoROList& node);

/// JSON: bytes as {"hex": "00ff"}, a text with a zero byte likewise, NaN and infinities as strings.
std::string json(const Value& value);

}  // namespace nimb::host
