// What hosts are built on: notation and times, values, a connection that recovers, prepared reads
// that split and leave out, checked writes.

#include <gtest/gtest.h>

#include <thread>

#include "base/prepared_read.h"
#include "base/text.h"
#include "base/write.h"
#include "testbed/fault_proxy.h"
#include "testbed/server_process.h"
#include "testbed/test_server.h"
#include "testbed/wait_until.h"

namespace nimb::host {
namespace {

using test::Fault;

TEST(HostNodes, AreReadAndWrittenInTheFieldsNotation) {
    for (const char* text : {"i=0", "i=4294967295", "ns=2;s=Tank1.Level", "ns=65535;s=a b;c=d",
                             "ns=1;s=Kühlwasser", "s=42"}) {
        EXPECT_EQ(notation(parseNode(text)), text);
    }
    for (const char* text : {"", "i=", "i=-1", "i=4294967296", "ns=65536;i=1", "ns=2", "ns=2;",
                             "s=", "ns=2;g=72962B91", "Tank1", "i=1x", "ns=2 ;i=1", "s=\xFF"}) {
        EXPECT_THROW(parseNode(text), BadNode) << text;
    }
    const auto nodes = parseNodes(" ns=2;s=My Tank  1 \n i=5\tns=2;s=X ");
    ASSERT_EQ(nodes.size(), 3U);
    EXPECT_EQ(nodes[0].text, "My Tank  1");
    EXPECT_EQ(nodes[2].text, "X");
    EXPECT_THROW(parseNodes(" "), BadNode);
}

TEST(HostTimes, GoFromTextToTicksAndBack) {
    const auto ticks = [](const std::u16string& text) {
        const VeltoList list = VeltoList() + text;
        return timeOf(list.at(0));
    };
    EXPECT_EQ(ticks(u"1601-01-01 00:00:00.0000000"), std::nullopt);
    EXPECT_EQ(ticks(u"2000-01-01 12:00:00.1234567")->count, plant::fixedTime);
    EXPECT_EQ(isoText({plant::fixedTime}), "2000-01-01T12:00:00.1234567Z");
    EXPECT_EQ(isoText(*ticks(u"30828-09-13 02:48:05.477580")), "30828-09-13T02:48:05.4775800Z");
    EXPECT_EQ(isoText({-1}), "1600-12-31T23:59:59.9999999Z");
    for (const char16_t* text : {u"", u"2000-13-01 00:00:00.0", u"2000-01-01 24:00:00.0",
                                 u"2000-01", u"2001-02-29 00:00:00.0", u"99999-01-01 00:00:00.0"}) {
        EXPECT_EQ(ticks(text), std::nullopt);
    }
}

TEST(HostTexts, ShowWhatIsNoUtf8) { EXPECT_EQ(printable("a\xFF\xC3z ü\xE2\x82"), "a??z ü??"); }

Library& library() {
    static Library loaded(NIMB_LIBRARY_PATH, Library::Care::strict);
    return loaded;
}

std::string node(const plant::NodeAddress& address) {
    return "ns=2;" + (address.text.empty() ? "i=" + std::to_string(address.numeric)
                                           : "s=" + std::string(address.text));
}

class PlantTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { server_ = new test::TestServer(); }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }
    static Plant plantAt(const std::string& url) { return {.url = url, .timeout = 2000}; }

    /// Reads nodes and shows each: its value as JSON, or its status or warning.
    static std::string read(Connection& connection, const std::string& nodes) {
        PreparedRead prepared(connection, parseNodes(nodes));
        const auto infos = NodeCatalogue(connection).describe(prepared.nodes());
        const Reading reading = prepared.read();
        std::string text;
        for (std::size_t i = 0; i < reading.size(); ++i) {
            Warning warning = nullptr;
            const Value value = reading.value(i, infos[i], warning);
            const auto status = reading.status(i);
            text += (i == 0 ? "" : " ") + json(value);
            if (status.value_or(0) != 0) text += '/' + library().statusName(*status);
            if (warning != nullptr) text += std::string("!") + (status ? "" : "-");
        }
        return text;
    }
    std::string read(const std::string& nodes) { return read(connection_, nodes); }

    static test::TestServer* server_;
    Connection connection_{library(), plantAt(server_->url())};
};

test::TestServer* PlantTest::server_ = nullptr;

TEST_F(PlantTest, ValuesOfEveryTypeAreWhatTheyWere) {
    std::string nodes;
    for (std::uint32_t type = 0; type < plant::builtInTypes; ++type) {
        if (type != plant::type::variant) nodes += node(plant::scalarOf(type)) + ' ';
    }
    EXPECT_EQ(read(nodes),
              "true -5 200 -1234 54321 -123456789 4000000000 -9007199254740993 9223372036854775808 "
              "0.10000000149011612 -2.25 \"Kühlwasser äöü 水温\" \"2000-01-01T12:00:00.1234567Z\" "
              "null!- {\"hex\":\"0001ff007f\"} \"<pump id=\\\"1\\\">läuft</pump>\" "
              "\"ns=2;s=Tank1.Level\" \"i=77\" 2151415808 {\"name\":\"Füllstand\",\"namespace\":2} "
              "{\"text\":\"Behälter leer\",\"locale\":\"de\"} null!- 42 null!-");
    EXPECT_EQ(read(node(plant::arrayOf(plant::type::boolean)) + " " +
                   node(plant::arrayOf(plant::type::uInt64)) + " " +
                   node(plant::arrayOf(plant::type::qualifiedName)) + " " + node(plant::oneNumber) +
                   " " + node(plant::matrix2x3)),
              "[true,false,true] [0,9223372036854775808,18446744073709551615] "
              "[{\"name\":\"Füllstand\",\"namespace\":2},{\"name\":\"Server\",\"namespace\":0}] "
              "[2.5] [[1,2,3],[4,5,6]]");
}

TEST_F(PlantTest, ThreadsGetTheAnswersToTheirOwnQuestions) {
    const auto readOften = [](const std::string& nodes, const std::string& values) {
        Connection connection(library(), plantAt(server_->url()));
        for (int i = 0; i < 50; ++i) EXPECT_EQ(read(connection, nodes), values);
    };
    std::thread other(readOften, node(plant::scalarOf(plant::type::boolean)), "true");
    readOften(node(plant::matrix2x3), "[[1,2,3],[4,5,6]]");
    other.join();
}

TEST_F(PlantTest, WhatHasNoValueOrNoFormLeavesTheOthersAlone) {
    const plant::NodeAddress text = plant::writableOf(plant::type::string);
    server_->setValue(text, plant::scalar(plant::borrowed("a\xFF"), plant::type::string));
    EXPECT_EQ(
        read(node(plant::emptyArray) + " " + node(plant::tank1Level) + " ns=2;i=999 " +
             node(plant::badWithoutValue) + " " + node(text) + " " + node(plant::badWithValue) +
             " " + node(plant::tank1) + " " + node(plant::notANumber) + " i=2259"),
        "null!- 42.5 null/BadNodeIdUnknown null/BadNoData null! 13/BadSensorFailure "
        "null/BadAttributeIdInvalid \"NaN\" 0");
}

TEST_F(PlantTest, ResultsThatDoNotFitAreReadInParts) {
    std::string nodes;
    for (std::uint32_t i = 0; i < 200; ++i) {
        nodes += node(plant::bulkPoint(i)) + ' ' + node(plant::coolingNote) + ' ';
    }
    for (int i = 0; i < 4000; ++i) nodes += "ns=2;i=" + std::to_string(100000 + i) + ' ';
    PreparedRead prepared(connection_, parseNodes(nodes));
    for (int round = 0; round < 2; ++round) {
        const Reading reading = prepared.read();
        Warning warning = nullptr;
        NodeInfo number{.nodeClass = 2, .type = Type::doubleFloat, .rank = -1};
        EXPECT_EQ(json(reading.value(398, number, warning)), "199");
        EXPECT_EQ(reading.status(399), 0U);
        EXPECT_EQ(reading.status(4399), 0x80340000U) << "no such node";
    }
    try {
        read(node(plant::tank1Level) + " " + node(plant::longString));
        FAIL() << "40000 letters cannot arrive";
    } catch (const TooLong& error) {
        EXPECT_EQ(std::string(error.what()),
                  "ns=2;s=Odd.LongString: the value does not fit into the 32767 bytes of a result");
    }
    EXPECT_THROW(browse(connection_, parseNode(node(plant::manyFolder))), TooLong);
}

TEST_F(PlantTest, WritesAreCheckedBeforeTheyAreSent) {
    struct Case {
        plant::NodeAddress node;
        Value value;
        const char* refusal;
    };
    using namespace plant;
    const Case cases[] = {
        {writableOf(type::byte), Value(std::int64_t{256}),
         "the number is out of the range of Byte"},
        {writableOf(type::int64), Value(1e19), "the number is out of the range of Int64"},
        {writableOf(type::int32), Value(1.5), "the node takes whole numbers only"},
        {writableOf(type::int32), Value(std::string("1")), "the node takes a whole number"},
        {writableOf(type::singleFloat), Value(1e39), "the number is out of the range of Float"},
        {writableOf(type::doubleFloat), Value(std::string()), "the node takes a number"},
        {writableOf(type::string), Value(std::string("\xFF")), "the text is no UTF-8"},
        {writableOf(type::string), Value(1.0), "the node takes a text"},
        {writableOf(type::doubleFloat), Value(), "there is no value to write"},
        {writableOf(type::boolean), Value(true), "values of its type cannot be written"},
        {tank1Level, Value(1.0), "the server does not let this user write the node"},
        {tank1, Value(1.0), "the node is no variable"},
        {numericNode(999), Value(1.0), "there is no such node"},
    };
    NodeCatalogue catalogue(connection_);
    for (const Case& c : cases) {
        const auto nodes = parseNodes(node(c.node));
        try {
            Write(nodes[0], catalogue.describe(nodes)[0], c.value);
            ADD_FAILURE() << "accepted: " << c.refusal;
        } catch (const Refusal& refusal) {
            EXPECT_STREQ(refusal.what(), c.refusal);
        }
    }
    const std::pair<NodeAddress, Value> writes[] = {
        {writableOf(type::byte), Value(255.0)},
        {writableOf(type::int64), Value(std::numeric_limits<std::int64_t>::min())},
        {tank1SetPoint, Value(std::int64_t{61})},
        {writableOf(type::string), Value(std::string("水"))}};
    std::string all;
    for (const auto& [address, value] : writes) {
        const auto nodes = parseNodes(node(address));
        Write(nodes[0], catalogue.describe(nodes)[0], value).send(connection_);
        all += node(address) + ' ';
    }
    EXPECT_EQ(read(all), "255 -9223372036854775808 61 \"水\"");
}

TEST_F(PlantTest, TypesThatDeriveAreBroughtBackToBuiltInOnes) {
    // Server/ServerStatus/State is an enumeration, CurrentTime a UtcTime, the rate a Duration.
    const auto infos =
        NodeCatalogue(connection_).describe(parseNodes("i=2259 i=2258 i=2262 i=2267 i=2268 i=85"));
    std::string types;
    for (const NodeInfo& info : infos) types += info.name + ':' + nameOf(info.type) + ' ';
    EXPECT_EQ(types,
              "State:Int32 CurrentTime:DateTime ProductUri:String ServiceLevel:Byte "
              "ServerCapabilities: Objects: ");
}

TEST(HostRecovery, ReadsAreRepeatedOnceAndWritesNever) {
    test::ServerProcess server;
    test::FaultProxy proxy(server.port());
    Connection connection(library(), {.url = proxy.url(), .timeout = 1000});
    PreparedRead prepared(connection, parseNodes("ns=2;s=Tank1.SetPoint i=2259"));
    const auto infos = NodeCatalogue(connection).describe(prepared.nodes());
    prepared.read();

    for (const Fault fault : {Fault::cut, Fault::reset}) {
        proxy.set(fault);
        EXPECT_THROW(prepared.read(), Failure);
        proxy.set(Fault::none);
        EXPECT_EQ(prepared.read().status(0), 0U) << "a new session";
    }
    // The session ends unseen.
    server.kill();
    server.start();
    EXPECT_EQ(prepared.read().status(0), 0U);
    const Write write(prepared.nodes()[0], infos[0], Value(63.0));
    proxy.set(Fault::halfOpen);  // the request arrives, its answer does not
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THROW(write.send(connection), Failure);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1900));
    proxy.set(Fault::reset);
    EXPECT_THROW(write.send(connection), Failure);
    proxy.set(Fault::none);
    write.send(connection);
    // A set-up that fails, as a lost subscription does, leaves a client without its requests.
    const std::string none;
    const VeltoList refusedMode = VeltoList() + 1000 + 2 + none + none + none + none + none + 0;
    EXPECT_THROW(connection.call("zfSetupClientC", refusedMode), Failure);
    EXPECT_EQ(prepared.read().status(0), 0U);
}

TEST(HostRecovery, ATimeoutIsTheCallersAnswer) {
    test::ServerProcess server;
    Connection connection(library(), {.url = server.url(), .timeout = 500});
    PreparedRead prepared(connection, parseNodes("i=2259"));
    prepared.read();
    server.freeze();
    const auto begin = std::chrono::steady_clock::now();
    try {
        prepared.read();
        ADD_FAILURE() << "the server is frozen";
    } catch (const Failure& failure) {
        EXPECT_TRUE(failure.timedOut()) << failure.what();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_THROW(browse(connection, parseNode("i=85")), Failure);
    server.thaw();
    EXPECT_TRUE(test::waitUntil([&] {
        try {
            return prepared.read().status(0) == 0U;
        } catch (const Failure&) {
            return false;
        }
    }));
}

}  // namespace
}  // namespace nimb::host
