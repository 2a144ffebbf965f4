// Reads and writes of single nodes through the callout table, against a real server.

#include <bit>
#include <cstring>
#include <limits>

#include "reading_plant.h"

namespace nimb::test {
namespace {

using namespace std::string_literals;
using plant::NodeAddress;

const std::string noNodeId = applicationError(4, "NodeId error");

class AttributeTest : public PlantTest {
  protected:
    static Result read(const NodeAddress& node, long client = client_) {
        return host_->callWith("zfReadAttribute",
                               joined(listOf(client), nodeId(node), listOf(valueAttribute)));
    }
    static Result write(const NodeAddress& node, int type, const VeltoList& value,
                        long client = client_) {
        return host_->callWith("zfWriteAttribute", joined(listOf(client), value, listOf(type),
                                                          nodeId(node), listOf(valueAttribute)));
    }
    /// Status and value of a read that succeeded, else the failure.
    static std::string valueOf(const NodeAddress& node) {
        const Result result = read(node);
        return result.ok() ? describe(itemsFrom(result.list(), 3)) : result.text();
    }
    static std::string now() {
        const Result text =
            host_->call("zfDateConvOPCUA2ODBC", static_cast<long>(UA_DateTime_now()));
        return text[1].AsAString();
    }
};

struct ReadCase {
    NodeAddress node;
    std::string expected;  ///< status and value, or the failure
};

TEST_F(AttributeTest, ReadsEveryBuiltInTypeAsItsItems) {
    namespace t = plant::type;
    const std::string uncertain = std::to_string(UA_STATUSCODE_UNCERTAININITIALVALUE);
    const ReadCase cases[] = {
        {plant::scalarOf(t::boolean), "0, 1"},
        {plant::scalarOf(t::sByte), "0, -5"},
        {plant::scalarOf(t::byte), "0, 200"},
        {plant::scalarOf(t::int16), "0, -1234"},
        {plant::scalarOf(t::uInt16), "0, 54321"},
        {plant::scalarOf(t::int32), "0, -123456789"},
        {plant::maximumOf(t::uInt32), "0, 4294967295"},
        {plant::scalarOf(t::int64), "0, -9007199254740993"},
        {plant::maximumOf(t::uInt64), "0, -1"},  // from 2^63 on negative
        {plant::scalarOf(t::singleFloat), "0, f:0.10000000149011612"},
        {plant::scalarOf(t::doubleFloat), "0, f:-2.25"},
        {plant::scalarOf(t::string), "0, \"" + std::string(plant::coolingText) + "\""},
        {plant::scalarOf(t::dateTime), "0, " + fixedTimeText},
        {plant::scalarOf(t::guid), applicationError(6, "UA_Guid")},
        {plant::scalarOf(t::byteString), "0, \"\\x00\\x01\\xff\\x00\\x7f\""},
        {plant::scalarOf(t::xmlElement), "0, \"<pump id=\\\"1\\\">läuft</pump>\""},
        {plant::scalarOf(t::nodeId), "0, 2, \"Tank1.Level\", 3, 11"},
        {plant::scalarOf(t::expandedNodeId), "0, 0, 77, 0, 6, \"urn:other:plant\", 3"},
        {plant::scalarOf(t::statusCode), "0, 2151415808"},
        {plant::scalarOf(t::qualifiedName), "0, \"Füllstand\", 2"},
        {plant::scalarOf(t::localizedText), "0, \"Behälter leer\", \"de\""},
        {plant::scalarOf(t::extensionObject), applicationError(6, "UA_ExtensionObject")},
        {plant::scalarOf(t::dataValue),
         "0, " + fixedTimeText + ", u\"1601-01-01 00:00:00.0000000\", " + uncertain + ", 42"},
        {plant::scalarOf(t::diagnosticInfo), applicationError(6, "UA_DiagnosticInfo")},
    };
    for (const auto& [node, expected] : cases) {
        EXPECT_EQ(valueOf(node), expected) << node.numeric;
    }
    for (std::uint32_t type = 0; type < plant::builtInTypes; ++type) {
        EXPECT_EQ(valueOf(plant::arrayOf(type)), "0, null") << "array of type " << type;
    }
}

TEST_F(AttributeTest, ReportsOddValuesAsSuccess) {
    const ReadCase cases[] = {
        {plant::badWithValue, std::to_string(UA_STATUSCODE_BADSENSORFAILURE) + ", 13"},
        {plant::badWithoutValue, std::to_string(UA_STATUSCODE_BADNODATA) + ", null"},
        {plant::uncertainWithValue,
         std::to_string(UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE) + ", 14"},
        {plant::goodWithoutValue, "0, null"},
        {plant::invalidUtf8, "0, \"a\\xff\\xc3z\""},
        {plant::nullString, "0, \"\""},
        {plant::emptyString, "0, \"\""},
        {plant::nullByteString, "0, \"\""},
        {plant::emptyArray, "0, null"},
        {plant::nullArray, "0, null"},
        {plant::stringNode("No.Such.Node"), "2150891520, null"},
    };
    for (const auto& [node, expected] : cases) {
        EXPECT_EQ(valueOf(node), expected) << node.text;
    }
    EXPECT_EQ(read(plant::longString).text(), "output untouched");  // 40000 bytes
}

TEST_F(AttributeTest, PutsSourceTimeBeforeServerTime) {
    const std::string before = now();
    const Result result = read(plant::badWithValue);
    const std::string after = now();
    EXPECT_EQ("u\"" + result[1].AsAString() + "\"", fixedTimeText);
    EXPECT_LE(before, result[2].AsAString());
    EXPECT_LE(result[2].AsAString(), after);
    EXPECT_EQ(read(plant::stringNode("No.Such.Node"))[1].AsAString(),
              "1601-01-01 00:00:00.0000000");
}

TEST_F(AttributeTest, GivesTextInTheStringModeOfTheHost) {
    const ReadCase wide[] = {
        {plant::scalarOf(plant::type::string), "0, u\"Kühlwasser äöü 水温\""},
        {plant::invalidUtf8, "0, \"\""},
        {plant::fourByteUtf8, "0, u\"a😀z\""},
        {plant::scalarOf(plant::type::byteString), "0, \"\\x00\\x01\\xff\\x00\\x7f\""},
        {plant::scalarOf(plant::type::qualifiedName), "0, u\"Füllstand\", 2"},
        {plant::writableOf(plant::type::string), "0, u\"50 °\""},
    };
    EXPECT_EQ(write(plant::writableOf(plant::type::string), 11, listOf("50 °\xE2\x82")).text(),
              "0");
    setStringMode(1);
    for (const auto& [node, expected] : wide) {
        EXPECT_EQ(valueOf(node), expected);
    }
}

TEST_F(AttributeTest, TakesNodeIdsByTheirConvention) {
    const auto readAs = [](auto identifier, long space, long type) {
        return host_->call("zfReadAttribute", client_, identifier, space, type, valueAttribute);
    };
    const auto value = [&](auto... id) {
        const Result result = readAs(id...);
        return result.ok() ? describe(itemsFrom(result.list(), 3)) : result.text();
    };
    EXPECT_EQ(value(1012, 65538, 0), "0, 1450") << "the namespace is cut to 16 bits";
    EXPECT_EQ(value("1012", 2, 0), "0, 1450");
    EXPECT_EQ(value("Pump1.State", 2, 3), "0, 1");
    EXPECT_EQ(value(std::u16string(u"Pump1.State"), 2, 3), "0, 1");
    for (const long beyond32Bits : {4294967296L + 1012, -4294967296L + 1012}) {
        EXPECT_EQ(value(beyond32Bits, 2, 0), "0, 1450");
    }
    for (const long type : {-1, 1, 2, 4, 5, 6}) {
        EXPECT_EQ(readAs(1012, 2, type).text(), noNodeId) << type;
    }
    setStringMode(1);
    EXPECT_EQ(value("Pump1.State", 2, 3), "0, 1");
    EXPECT_EQ(readAs(std::u16string(1, u'\xD800'), 2, 3).text(), noNodeId);
    setStringMode(2);
    EXPECT_EQ(value("Pump1.State", 2, 3), "2150891520, null") << "the identifier stays empty";
    EXPECT_EQ(value(1012, 2, 0), "0, 1450");
}

struct WriteCase {
    int type;
    VeltoList value;
    std::uint64_t bits;  ///< of the value that the server then holds, as wide as its type
};

TEST_F(AttributeTest, WritesEveryAcceptedTypeBitForBit) {
    namespace t = plant::type;
    const auto nan = std::bit_cast<double>(0x7FF8000000000123);
    const WriteCase cases[] = {
        {t::sByte, listOf(-128), 0x80},
        {t::byte, listOf(300), 44},
        {t::int16, listOf(-2), 0xFFFE},
        {t::uInt16, listOf(65535), 65535},
        {t::int32, listOf(std::numeric_limits<int>::min()), 0x80000000},
        {t::uInt32, listOf(4294967295L), 4294967295},
        {t::int64, listOf(std::numeric_limits<long>::min()), 0x8000000000000000},
        {t::int64, listOf("-12abc"), static_cast<std::uint64_t>(-12)},
        {t::int16, listOf("1E2"), 100},
        {t::int64, listOf(std::u16string(u"-1.25E2")), static_cast<std::uint64_t>(-125)},
        {t::int64, listOf(1.0), std::bit_cast<std::uint64_t>(1.0)},  // floating point as its bits
        {t::statusCode, listOf(0x80340000L), 0x80340000},
        {t::singleFloat, listOf(3.4e39), 0x7F800000},
        {t::singleFloat, listOf(0.1), 0x3DCCCCCD},
        {t::doubleFloat, listOf(nan), 0x7FF8000000000123},
        {t::doubleFloat, listOf(-0.0), 0x8000000000000000},
        {t::doubleFloat, listOf("1.5E2"), std::bit_cast<std::uint64_t>(150.0)},
        {t::doubleFloat, listOf(7), std::bit_cast<std::uint64_t>(7.0)},
        {t::int32, listOf(VeltoNull()), 0},
    };
    for (const auto& [type, value, bits] : cases) {
        const NodeAddress node = plant::writableOf(static_cast<std::uint32_t>(type));
        EXPECT_EQ(write(node, type, value).text(), "0") << type;
        const plant::OwnedVariant held = server_->value(node);
        ASSERT_EQ(held->type, &UA_TYPES[type]);
        EXPECT_EQ(std::memcmp(held->data, &bits, held->type->memSize), 0) << type << ' ' << bits;
    }
    EXPECT_EQ(valueOf(plant::writableOf(t::byte)), "0, 44");
    EXPECT_EQ(valueOf(plant::writableOf(t::singleFloat)), "0, f:0.10000000149011612");
}

TEST_F(AttributeTest, WritesTextInTheStringModeOfTheHost) {
    const NodeAddress node = plant::writableOf(plant::type::string);
    const auto held = [&] {
        const plant::OwnedVariant value = server_->value(node);
        const auto& text = *static_cast<const UA_String*>(value->data);
        return text.data == nullptr ? "null"s : std::string(text.data, text.data + text.length);
    };
    EXPECT_EQ(write(node, 11, listOf("a\xFF")).text(), "0");
    EXPECT_EQ(held(), "a\xFF");
    EXPECT_EQ(write(node, 11, listOf("")).text(), "0");
    EXPECT_EQ(held(), "") << "empty, not null";
    EXPECT_EQ(write(node, 11, listOf(std::u16string(u"Ł"))).text(), "0");
    EXPECT_EQ(held(), "A") << "8-bit hosts get the low byte";
    setStringMode(1);
    EXPECT_EQ(write(node, 11, listOf(std::u16string(u"Ł\U0001F600"))).text(), "0");
    EXPECT_EQ(held(), "Ł\U0001F600");
    EXPECT_EQ(write(node, 11, listOf(std::u16string(1, u'\xDC00'))).text(),
              applicationError(5, "Error converting string from UTF-16 to UTF-8 [x]"));
    setStringMode(2);
    EXPECT_EQ(write(node, 11, listOf("nothing is written")).text(), "0");
    EXPECT_EQ(held(), "Ł\U0001F600");
}

TEST_F(AttributeTest, TellsWhyTheServerRefusesAWrite) {
    for (const auto& [type, tag] : {std::pair{5, "[C3.a]"}, {10, "[C6.a]"}, {11, "[C4]"}}) {
        EXPECT_EQ(write(plant::badWithValue, type, listOf(1)).text(),
                  statusError(UA_STATUSCODE_BADNOTWRITABLE, tag));
    }
}

}  // namespace
}  // namespace nimb::test
