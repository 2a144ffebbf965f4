// Prepared bulk reads through the callout table, against a real server.

#include "reading_plant.h"

namespace nimb::test {
namespace {

using plant::NodeAddress;
using Nodes = std::vector<NodeAddress>;

constexpr const char* polls[] = {"zfReadBulkPoll", "zfReadBulkPollB", "zfReadBulkPollC"};

Nodes points(std::uint32_t count) {
    Nodes nodes;
    for (std::uint32_t i = 0; i < count; ++i) nodes.push_back(plant::bulkPoint(i));
    return nodes;
}

Result setUp(Host& host, long client, const Nodes& nodes) {
    return host.call("zfReadBulkSetupC", client, specification(nodes));
}

std::string unknownQuery(int kind, const std::string& tag, int handle) {
    const std::string text = "Query handle does not correspond to a prespecified read request" +
                             tag + " : handle = " + std::to_string(handle);
    return kind == 2 ? applicationError(10, text) : unknownError(text, kind);
}
std::string conversionError(const std::string& text) {
    return applicationError(5, "Error encountered processing OPC response" + text);
}

class BulkTest : public PlantTest {
  protected:
    static std::vector<Result> pollAll(const Nodes& nodes, int valueRequired = 0) {
        const long query = setUp(*host_, client_, nodes)[1].AsLong();
        std::vector<Result> results;
        for (const char* poll : polls) {
            results.push_back(host_->call(poll, client_, query, valueRequired, 0));
        }
        host_->call("zfReadBulkClear", client_, query);
        return results;
    }
    static void expectFailures(const Nodes& nodes, const std::string (&texts)[3]) {
        const auto results = pollAll(nodes);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(results[i].text(), texts[i]) << polls[i];
    }
};

TEST_F(BulkTest, NumbersQueryHandlesPerClientAndNeverAgain) {
    const long client = bareClient();  // nothing is sent, so no session is needed
    const auto setUpByLists = [](long handle) {
        return host_->call("zfReadBulkSetup", handle, listOf(0), listOf(2), listOf(42), listOf(13));
    };
    EXPECT_EQ(setUpByLists(client).text(), "0, 1");
    EXPECT_EQ(setUp(*host_, client, points(2)).text(), "0, 2");
    EXPECT_EQ(host_->call("zfReadBulkClear", client, 1).text(), "0");
    EXPECT_EQ(host_->call("zfReadBulkClear", client, 1).text(), "0");
    EXPECT_EQ(setUpByLists(client).text(), "0, 3");
    EXPECT_EQ(setUpByLists(bareClient()).text(), "0, 1");
}

/// A node's value as each poll shows it: behind the status, alone, and behind the status.
struct Shown {
    NodeAddress node;
    std::string flat, alone, nested;
};

const std::vector<Shown>& mixedNodes() {
    namespace t = plant::type;
    static const std::vector<Shown> nodes{
        {plant::tank1Level, "f:42.5", "f:42.5", "f:42.5"},
        {plant::pump1Running, "1", "1", "1"},
        {plant::pump1Starts, "7", "7", "7"},
        {plant::scalarOf(t::qualifiedName), "\"Füllstand\", 2", "\"Füllstand\", 2",
         "\"Füllstand\", 2"},
        {plant::scalarOf(t::localizedText), "\"Behälter leer\", \"de\"",
         "\"Behälter leer\", \"de\"", "\"Behälter leer\", \"de\""},
        {plant::sixNumbers, "null", "null", "[1, 2, 3, 4, 5, 6], 1"},
        {plant::oneNumber, "null", "null", "f:2.5"},
        {plant::matrix2x3, "null", "null", "[[1, 2, 3], [4, 5, 6]], 2"},
        {plant::cube2x2x2, "null", "null", "[[[1, 2], [3, 4]], [[5, 6], [7, 8]]], 3"},
        {plant::arrayOf(t::qualifiedName), "null", "null",
         "[[\"Füllstand\", 2], [\"Server\", 0]], 1"},
    };
    return nodes;
}

/// Replaces the time stamps by T that the server took from its clock.
std::string withoutTimes(std::string text) {
    for (std::size_t at = 0; (at = text.find("u\"20", at)) != std::string::npos; ++at) {
        const std::size_t length = fixedTimeText.size();
        if (text.compare(at, length, fixedTimeText) != 0) text.replace(at, length, "T");
    }
    return text;
}

TEST_F(BulkTest, LaysOutNodesByPoll) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{10}, std::size_t{200}}) {
        Nodes nodes;
        std::string expected[3] = {"0", "0", "0"};
        for (std::size_t i = 0; i < count; ++i) {
            // Mixed types at the head, measuring points behind them.
            const bool mixed = i < mixedNodes().size();
            const std::string value = "f:" + std::to_string(i);
            const Shown& node =
                mixed ? mixedNodes()[i]
                      : Shown{plant::bulkPoint(static_cast<std::uint32_t>(i)), value, value, value};
            nodes.push_back(node.node);
            expected[0] += ", T, T, 0, " + node.flat;
            expected[1] += ", [" + node.alone + ", T]";
            expected[2] += ", [T, T, 0, " + node.nested + "]";
        }
        const auto results = pollAll(nodes, 1);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(withoutTimes(results[i].text()), expected[i]) << polls[i] << ' ' << count;
        }
    }
}

TEST_F(BulkTest, ShowsWhatTheServerLeavesOut) {
    const Nodes nodes{plant::badWithValue, plant::stringNode("No.Such.Node"),
                      plant::goodWithoutValue};
    const auto results = pollAll(nodes);
    const std::string zero = "u\"1601-01-01 00:00:00.0000000\"";
    EXPECT_EQ(withoutTimes(results[0].text()), "0, " + fixedTimeText + ", T, 2156658688, 13, " +
                                                   zero + ", " + zero + ", 2150891520, null, " +
                                                   fixedTimeText + ", T, 0, null");
    EXPECT_EQ(results[1].text(),
              "0, [13, " + fixedTimeText + "], [\"\", \"\"], [null, " + fixedTimeText + "]");
    EXPECT_EQ(
        withoutTimes(results[2].text()),
        "0, [" + fixedTimeText + ", T, 2156658688, 13], \"\", [" + fixedTimeText + ", T, 0, null]");
    EXPECT_EQ(pollAll(nodes, 1)[2].text(),
              unknownError("Missing return value [rbp-c] : idx = 2", 6));
    EXPECT_TRUE(pollAll(nodes, 2)[2].ok()) << "only 1 asks for values";
}

TEST_F(BulkTest, NamesTheNodeWhoseValueHasNoForm) {
    const NodeAddress guid = plant::scalarOf(plant::type::guid);
    expectFailures({plant::tank1Level, guid, plant::tank2Level, plant::stringNode("None")},
                   {conversionError(" : idx = 2"), conversionError(" [v]: idx = 1"),
                    conversionError(" [v,rbp-c]: idx = 1")});
    expectFailures({guid, guid}, {conversionError(" : idx = 1"), conversionError(" [v]: idx = 0"),
                                  conversionError(" [v,rbp-c]: idx = 0")});
    // The first failure wins, whichever it is.
    EXPECT_EQ(pollAll({plant::stringNode("None"), guid}, 1)[2].text(),
              unknownError("Missing return value [rbp-c] : idx = 1", 6));
    EXPECT_EQ(pollAll({guid, plant::stringNode("None")}, 1)[2].text(),
              conversionError(" [v,rbp-c]: idx = 0"));
    // An array without elements has no nested form.
    EXPECT_EQ(pollAll({plant::tank1Level, plant::emptyArray})[2].text(),
              conversionError(" [v,rbp-c]: idx = 1"));
}

TEST_F(BulkTest, ReadsValuesWhateverAttributeTheListsName) {
    const Result query = host_->call("zfReadBulkSetup", client_, listOf(3, 0), listOf(2, 2),
                                     listOf("Tank1.Level", 1012), listOf(1, 3));
    const Result poll = host_->call("zfReadBulkPollB", client_, query[1].AsLong());
    EXPECT_EQ(withoutTimes(poll.text()), "0, [f:42.5, T], [1450, T]");
}

TEST_F(BulkTest, GivesTextInTheStringModeOfThePoll) {
    const Result query = setUp(*host_, client_, {plant::scalarOf(plant::type::qualifiedName)});
    setStringMode(1);
    const Result poll = host_->call("zfReadBulkPollB", client_, query[1].AsLong());
    EXPECT_EQ(withoutTimes(poll.text()), "0, [u\"Füllstand\", 2, T]");
}

TEST_F(BulkTest, PreparedReadsOutliveSessions) {
    TestServer server;
    const long client = host_->connectedClient(server.url());
    const Nodes nodes{plant::tank1Level, plant::pump1Speed};
    const Result query = setUp(*host_, client, nodes);
    const auto poll = [&](const char* entry) {
        return withoutTimes(host_->call(entry, client, query[1].AsLong(), 0, 0).text());
    };
    const std::string values = "0, [f:42.5, T], [1450, T]";
    EXPECT_EQ(poll("zfReadBulkPollB"), values);
    host_->call("zfDisconnectB", client);
    const std::string failed = "Error encountered during execution of read request";
    EXPECT_EQ(poll("zfReadBulkPoll"), closedConnection(failed));
    EXPECT_EQ(poll("zfReadBulkPollB"), closedConnection(failed));
    EXPECT_EQ(poll("zfReadBulkPollC"), closedConnection(failed + " [rbp-c]"));
    EXPECT_EQ(server.sessionCount(), 0U);
    server.restart();
    EXPECT_EQ(host_->call("zfConnectB", client, server.url()).text(), "0");
    EXPECT_EQ(poll("zfReadBulkPollB"), values);
    host_->call("zfDestroyClientB", client);
}

TEST_F(BulkTest, PreparedReadsEndWithTheSetUpThatIsRequiredOnly) {
    const long client = bareClient();
    const long query = setUp(*host_, client, {plant::tank1Level})[1].AsLong();
    const auto poll = [&] {
        host_->call("zfSetupClientC", client, 3000, 1, "", "", "", "", "", 0);
        host_->call("zfConnectB", client, server_->url());
        return withoutTimes(host_->call("zfReadBulkPollB", client, query).text());
    };
    EXPECT_EQ(poll(), "0, [f:42.5, T]") << "prepared before the first set-up";
    EXPECT_EQ(poll(), "0, [f:42.5, T]");
    requireReset(client);
    EXPECT_EQ(poll(), unknownQuery(2, "", static_cast<int>(query)));
    host_->call("zfDestroyClientB", client);
}

/// The numbers of nodes that docs/reading.md names for Double values.
TEST_F(BulkTest, FitsAsManyDoublesAsDocumented) {
    const std::size_t most[] = {264, 481, 260};
    const std::size_t bytesPerNode[] = {124, 68, 126};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto count = static_cast<std::uint32_t>(most[i]);
        const Result fits = pollAll(points(count))[i];
        EXPECT_EQ(fits.list().datalength(), 2 + most[i] * bytesPerNode[i]) << polls[i];
        EXPECT_FALSE(pollAll(points(count + 1))[i].written()) << polls[i];
    }
}

}  // namespace
}  // namespace nimb::test
