#pragma once

#include <cstdint>
#include <string_view>

/// The node ids of the demonstration plant: one place to name them for the server, the demo and the
/// tests. All nodes live in one namespace of their own; no stack header is needed here.
namespace nimb::plant {

inline constexpr const char* namespaceUri = "urn:nimbopcua:plant";

/// Index of `namespaceUri` on this server: 0 and 1 belong to every server, ours is added first.
inline constexpr std::uint16_t namespaceIndex = 2;

/// An identifier in the plant's namespace: text when there is any, else the number.
struct NodeAddress {
    std::uint32_t numeric = 0;
    std::string_view text = {};
};

constexpr NodeAddress numericNode(std::uint32_t id) { return {id, {}}; }
constexpr NodeAddress stringNode(std::string_view id) { return {0, id}; }

/// Indexes of the 25 built-in types as hosts and the stack's type table count them: one less than
/// the numbers on the wire.
namespace type {
enum Index : std::uint32_t {
    boolean,
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
    extensionObject,
    dataValue,
    variant,
    diagnosticInfo,
};
}  // namespace type
inline constexpr std::uint32_t builtInTypes = 25;

/// 2000-01-01T12:00:00.1234567Z in 100 ns steps since 1601: the one fixed time stamp of the plant.
inline constexpr std::int64_t fixedTime = 125912016001234567;

/// A text with characters of two and three UTF-8 bytes.
inline constexpr std::string_view coolingText = "Kühlwasser äöü 水温";

/// Folders; each is organised by the Objects folder.
inline constexpr NodeAddress plantFolder = numericNode(1000);
inline constexpr NodeAddress tank1 = numericNode(1001);
inline constexpr NodeAddress tank2 = numericNode(1002);
inline constexpr NodeAddress pump1 = numericNode(1003);
inline constexpr NodeAddress allTypesFolder = numericNode(3);
inline constexpr NodeAddress writableFolder = numericNode(4);
inline constexpr NodeAddress oddFolder = numericNode(5);
inline constexpr NodeAddress manyFolder = numericNode(6);
inline constexpr NodeAddress bulkFolder = numericNode(7);
inline constexpr NodeAddress signalsFolder = numericNode(8);  // only with signals to put into it

/// The plant. Levels in per cent, temperatures in degrees Celsius, speed in rounds per minute.
inline constexpr NodeAddress tank1Level = stringNode("Tank1.Level");              // Double 42.5
inline constexpr NodeAddress tank1Temperature = stringNode("Tank1.Temperature");  // Double 18.25
inline constexpr NodeAddress tank1SetPoint = stringNode("Tank1.SetPoint");  // Double 50, writable
inline constexpr NodeAddress tank2Level = stringNode("Tank2.Level");        // Double 77.75
inline constexpr NodeAddress tank2Temperature = stringNode("Tank2.Temperature");  // Double 21.5
inline constexpr NodeAddress tank2SetPoint = stringNode("Tank2.SetPoint");  // Double 60, writable
inline constexpr NodeAddress pump1State = stringNode("Pump1.State");        // Int32 1
inline constexpr NodeAddress pump1Running = numericNode(1010);              // Boolean true
inline constexpr NodeAddress pump1Starts = numericNode(1011);               // UInt32 7
inline constexpr NodeAddress pump1Speed = numericNode(1012);                // Int32 1450, writable
inline constexpr NodeAddress coolingNote = stringNode("Kühlwasser");        // String, coolingText
inline constexpr NodeAddress sixNumbers = numericNode(1020);                // Int32[6] 1 to 6
inline constexpr NodeAddress oneNumber = numericNode(1021);                 // Double[1] 2.5
inline constexpr NodeAddress matrix2x3 = numericNode(1022);                 // Int32[2][3] 1 to 6
inline constexpr NodeAddress cube2x2x2 = numericNode(1023);                 // Int32[2][2][2] 1 to 8

/// AllTypes: a scalar of every built-in type but `variant`, because a Variant cannot hold a scalar
/// Variant (values in all_types.cpp).
constexpr NodeAddress scalarOf(std::uint32_t type) { return numericNode(3000 + type); }
/// AllTypes: an array of every built-in type (values in all_types.cpp).
constexpr NodeAddress arrayOf(std::uint32_t type) { return numericNode(3100 + type); }
/// AllTypes: the least and the greatest value; `sByte` to `doubleFloat`, and `dateTime`.
constexpr NodeAddress minimumOf(std::uint32_t type) { return numericNode(3200 + type); }
constexpr NodeAddress maximumOf(std::uint32_t type) { return numericNode(3300 + type); }

/// Writable: a zero of every type from `boolean` to `byteString`, and of `statusCode`.
constexpr NodeAddress writableOf(std::uint32_t type) { return numericNode(4000 + type); }

/// Odd: what only a data source can produce. The source time stamp is `fixedTime` where not said
/// otherwise; the server time stamp is always the time of the read, set by the server itself.
inline constexpr NodeAddress badWithValue = stringNode("Odd.BadWithValue");  // BadSensorFailure, 13
inline constexpr NodeAddress badWithoutValue = stringNode("Odd.BadWithoutValue");  // BadNoData
inline constexpr NodeAddress uncertainWithValue = stringNode("Odd.UncertainWithValue");  // Int32 14
inline constexpr NodeAddress goodWithoutValue = stringNode("Odd.GoodWithoutValue");
/// Int32 15 without time stamps: the server puts the time of the read in both places.
inline constexpr NodeAddress noTimestamps = stringNode("Odd.NoTimestamps");
inline constexpr NodeAddress invalidUtf8 = stringNode("Odd.InvalidUtf8");    // 'a' FF C3 'z'
inline constexpr NodeAddress fourByteUtf8 = stringNode("Odd.FourByteUtf8");  // a U+1F600 z
inline constexpr NodeAddress nullString = stringNode("Odd.NullString");
inline constexpr NodeAddress emptyString = stringNode("Odd.EmptyString");
inline constexpr NodeAddress nullByteString = stringNode("Odd.NullByteString");
inline constexpr NodeAddress longString = stringNode("Odd.LongString");        // 40000 'x'
inline constexpr NodeAddress emptyArray = stringNode("Odd.EmptyArray");        // Int32[0]
inline constexpr NodeAddress nullArray = stringNode("Odd.NullArray");          // Int32, length -1
inline constexpr NodeAddress notANumber = stringNode("Odd.NotANumber");        // Double
inline constexpr NodeAddress infinity = stringNode("Odd.Infinity");            // Double
inline constexpr NodeAddress minusInfinity = stringNode("Odd.MinusInfinity");  // Double
inline constexpr NodeAddress minusZero = stringNode("Odd.MinusZero");          // Double
inline constexpr NodeAddress denormal = stringNode("Odd.Denormal");            // Double 2^-1074
inline constexpr NodeAddress slowValue = stringNode("Odd.Slow");  // Int32 18 after 300 ms

/// Many: child number `index` (0 first) of the folder whose browse outgrows one result.
constexpr NodeAddress manyChild(std::uint32_t index) { return numericNode(10000 + index); }
/// Bulk: measuring point number `index` (0 first), a Double that starts as its index.
constexpr NodeAddress bulkPoint(std::uint32_t index) { return numericNode(20000 + index); }

}  // namespace nimb::plant
