// The lists in which hosts describe the nodes of a bulk read.

#include <utility>

#include "demo_server/address_space.h"
#include "reading_plant.h"

namespace nimb::test {
namespace {

std::string malformed(const std::string& text) { return applicationError(10, text); }

class SpecificationTest : public PlantTest {
  protected:
    static Result setUpWith(const VeltoList& specification, long client = client_) {
        return host_->call("zfReadBulkSetupC", client, specification);
    }
    /// Status and value of the one node described, as the flat poll gives them.
    static std::string valueOf(const VeltoList& property) {
        const Result setUp = setUpWith(container(property));
        if (!setUp.ok()) return setUp.text();
        const Result poll = host_->call("zfReadBulkPoll", client_, setUp[1].AsLong());
        host_->call("zfReadBulkClear", client_, setUp[1].AsLong());
        return poll.ok() ? describe(itemsFrom(poll.list(), 3)) : poll.text();
    }
    void SetUp() override {
        // Nodes that only the right reading of a name finds: numeric 42, 0xFFFFFFFF and so on hold
        // their own number, string nodes hold the length of their name.
        static bool added = false;
        if (std::exchange(added, true)) return;
        for (const std::uint32_t id : {1U, 42U, 0xFFFFFFFFU}) addNode(plant::numericNode(id), id);
        for (const std::string_view name :
             {" ", "+", "-", "42a", "42 ", "4 2", "+-5", "0x10", "4.2", "9223372036854775808",
              "-9223372036854775809", "99999999999999999999", "Ł", "\u00FC"}) {
            addNode(plant::stringNode(name), name.size());
        }
        addNodeWithoutIdentifier(UA_STRING_NULL, 77);
        addNodeWithoutIdentifier(plant::borrowed(""), 78);
    }
    static void addNode(const plant::NodeAddress& node, std::size_t value) {
        server_->run([&](plant::PlantServer& plant) {
            plant::AddressSpace(plant.server())
                .addVariable(node, plant::bulkFolder, "extra " + std::to_string(value),
                             plant::scalar(static_cast<UA_Int64>(value), UA_TYPES_INT64));
        });
    }
    /// Servers tell the null text (here of value 77) from the empty one (78).
    static void addNodeWithoutIdentifier(UA_String identifier, UA_Int32 value) {
        server_->run([&](plant::PlantServer& plant) {
            const plant::OwnedVariant held = plant::scalar(value, UA_TYPES_INT32);
            UA_VariableAttributes attributes = UA_VariableAttributes_default;
            attributes.value = *held;
            attributes.dataType = held->type->typeId;
            UA_NodeId id = stackId(plant::stringNode("none"));
            id.identifier.string = identifier;
            UA_Server_addVariableNode(
                plant.server(), id, stackId(plant::bulkFolder),
                UA_NODEID_NUMERIC(0, UA_NS0ID_HASCOMPONENT), {2, plant::borrowed("none")},
                UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATAVARIABLETYPE), attributes, nullptr, nullptr);
        });
    }
};

struct NameCase {
    std::string name;
    std::string expected;
};

TEST_F(SpecificationTest, ReadsNamesThatAreNumbersAsNumericIds) {
    const NameCase cases[] = {
        {"42", "0, 42"},
        {" 42", "0, 42"},
        {"\t\n\v\f\r 42", "0, 42"},
        {"0042", "0, 42"},
        {"+42", "0, 42"},
        {"4294967338", "0, 42"},  // 2^32 + 42
        {"-1", "0, 4294967295"},
        {"9223372036854775807", "0, 4294967295"},
        {"-9223372036854775807", "0, 1"},
        {"9223372036854775808", "0, 19"},
        {"-9223372036854775809", "0, 20"},
        {"99999999999999999999", "0, 20"},
        {" ", "0, 1"},
        {"+", "0, 1"},
        {"-", "0, 1"},
        {"42a", "0, 3"},
        {"42 ", "0, 3"},
        {"4 2", "0, 3"},
        {"+-5", "0, 3"},
        {"0x10", "0, 4"},
        {"4.2", "0, 3"},
    };
    for (const int mode : {0, 1}) {
        setStringMode(mode);
        for (const auto& [name, expected] : cases) {
            EXPECT_EQ(valueOf(property(name)), expected) << '"' << name << "\" in mode " << mode;
        }
        EXPECT_EQ(valueOf(property("")), "2150891520, null") << "number 0, not the empty text";
        EXPECT_EQ(valueOf(property(VeltoNull())), "2150891520, null");
        EXPECT_EQ(valueOf(property(42)), "0, 42") << "an integer item reads as its digits";
        EXPECT_EQ(valueOf(property("42", 65538)), "0, 42") << "the namespace is cut to 16 bits";
    }
}

TEST_F(SpecificationTest, ReadsOtherNamesByTheStringMode) {
    EXPECT_EQ(valueOf(property("Ł")), "0, 2") << "bytes as they are";
    EXPECT_EQ(valueOf(property(std::u16string(u"Pump1.State"))), "0, 1");
    setStringMode(1);
    EXPECT_EQ(valueOf(property(std::u16string(u"Ł"))), "0, 2") << "UTF-16 becomes UTF-8";
    EXPECT_EQ(valueOf(property("\xFC")), "0, 2") << "8-bit text is Latin-1";
    setStringMode(2);
    EXPECT_EQ(valueOf(property("42")), "0, 42");
    EXPECT_EQ(valueOf(property("Pump1.State")), "0, 77") << "the identifier stays null";
}

TEST_F(SpecificationTest, NamesThePropertyThatCannotBeRead) {
    const VeltoList good = property("42");
    const auto at = [](const std::string& text, int n, const std::string& tag = "") {
        return malformed(text + " (n=" + std::to_string(n) + ")" + tag);
    };
    const std::string unlisted =
        malformed("Malformed specification. Unable to access Specification as an NIMB list");
    const std::string element =
        "Malformed specification. Unable to access Specification element for property";
    const std::string space = "Unable to read namespace for property";
    const std::string name = "Unable to read node name for property";
    const std::string attribute = "Unable to read attribute id for property";
    VeltoList odd;  // an item of a type that does not exist
    const unsigned char type3[] = {2, 3};
    odd.appendList(VeltoROList(type3, 2));
    const auto withItem = [&](std::initializer_list<VeltoList> items) {
        VeltoList property;
        for (const VeltoList& item : items) property.appendList(item);
        return property;
    };
    const VeltoList text = listOf("");
    const VeltoList number = listOf(2);
    const struct {
        VeltoList specification;
        std::string expected;
    } cases[] = {
        {VeltoList(), unlisted},
        {listOf(1, 2), unlisted},
        {listOf("", "", 5), unlisted},
        {listOf("", "", VeltoNull()), unlisted},
        {listOf("", "", "cut off"), unlisted},
        {container(17), at(element, 1)},
        {container(VeltoNull()), at(element, 1)},
        {container(good, "cut off"), at(element, 2)},
        {container(good, good, 1.5), at(element, 3)},
        {container(""), at(space, 1)},
        {container(good, listOf("", "")), at(space, 2)},
        {container(withItem({text, text, odd, text, number})), at(space, 1)},
        {container(good, listOf("", "", 2)), at(name, 2, " [a]")},
        {container(withItem({text, text, number, odd, number})), at(name, 1, " [a]")},
        {container(good, good, listOf("", "", 2, "42")), at(attribute, 3)},
        {container(withItem({text, text, number, text, odd})), at(attribute, 1)},
        {container(listOf("", ""), 17), at(space, 1)},  // the first one counts
    };
    for (const auto& [specification, expected] : cases) {
        EXPECT_EQ(setUpWith(specification, noClient).text(), expected);
    }
    setStringMode(1);
    EXPECT_EQ(setUpWith(container(good, listOf("", "", 2))).text(), at(name, 2, " [x]"));
    EXPECT_EQ(setUpWith(container(property(std::u16string(1, u'\xD800')))).text(),
              at(name, 1, " [x]"));
}

TEST_F(SpecificationTest, HonoursAttributeIds) {
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 1)), "0, 2, \"Tank1.Level\", 3, 11");
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 2)), "0, 2");  // a variable
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 3)), "0, \"Level\", 2");
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 4)), "0, \"Level\", \"\"");
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 14)), "0, 0, 11, 0, 6");  // Double
    EXPECT_EQ(valueOf(property("Tank1.Level", 2, 99)),
              "2150957056, null");  // BadAttributeIdInvalid
}

TEST_F(SpecificationTest, MayDescribeNoNodes) {
    const long client = host_->connectedClient(server_->url());
    EXPECT_EQ(setUpWith(container(), client).text(), "0, 1");
    EXPECT_EQ(setUpWith(listOf("", "", ""), client).text(), "0, 2");
    EXPECT_EQ(host_->call("zfReadBulkPoll", client, 1)[2].AsLongLong(),
              UA_STATUSCODE_BADNOTHINGTODO);
    host_->call("zfDestroyClientB", client);
}

}  // namespace
}  // namespace nimb::test
