// The callout table and what all handlers share, called as a host calls them.

#include <gtest/gtest.h>

#include <cstring>

#include "demo_server/plant_nodes.h"
#include "entry_names.h"
#include "support/host.h"
#include "support/test_server.h"

namespace nimb::test {
namespace {

constexpr const char* kUnsupported =
    "Application Error [9] : Other error : Requested operation is not available in the NIMB OPC UA "
    "adapter.";
constexpr const char* kBadHandle = "Application Error [1] : Client instance not found, Bad handle";

// Entries that read arguments, with the tag of a failure that has no name of its own.
const std::pair<const char*, const char*> kTags[] = {
    {"zfGetStatusCodeNameB", "[B1]"},
    {"zfGetClientStateNameB", "[B2]"},
    {"zfGetSimpleErrorCodeNameB", "[B3]"},
    {"zfDestroyClientB", "[B7]"},
    {"zfConnectB", "[B8]"},
    {"zfDisconnectB", "[B9]"},
    {"zfReadBulkSetup", "[B10]"},
    {"zfReadBulkSetupC", "[B11]"},
    {"zfReadBulkPoll", "[B12]"},
    {"zfReadBulkPollB", "[B13]"},
    {"zfReadBulkPollC", "[B14]"},
    {"zfReadBulkClear", "[B15]"},
    {"zfCreateSubscriptionB", "[B16]"},
    {"zfPollSubscription", "[B17]"},
    {"zfDeleteSubscription", "[B18]"},
    {"zfReadAttribute", "[B22]"},
    {"zfWriteAttribute", "[B23]"},
    {"zfDateConvOPCUA2HOROLOG", "[B19]"},
    {"zfDateConvHOROLOG2OPCUA", "[B20]"},
    {"zfDateConvOPCUA2ODBC", "[B21]"},
    {"zfGetClientStateD", "[B5]"},
    {"zfConnectUser", "[B8]"},
    {"zfSetupClientC", "[B6.1]"},
    {"zfGetChannelStateName", "Unable to recognize secure channel state [B2.1]"},
    {"zfGetSessionStateName", "Unable to recognize session state [B2.2]"},
    {"zfBrowse", "[B24]"},
    {"zfGetUStr", "[B9]"},
    {"zfSetLogFile", "[B25]"},
};

TEST(CalloutTable, HasItsRowsInOrder) {
    Host host;
    const auto rows = host.library().rows();
    ASSERT_EQ(rows.size(), std::size(kEntryNames));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_STREQ(rows[i].name, kEntryNames[i]) << i;
        const char* arguments = i == 1 ? "P" : i == 2 ? "1Ji" : i == 7 ? "B" : "Bb";
        EXPECT_STREQ(rows[i].arguments, arguments) << kEntryNames[i];
    }
}

TEST(CalloutTable, FourteenEntriesAreUnsupported) {
    Host host;
    for (const char* entry :
         {"zfTest", "zfReadLog", "zfGetClientStateB", "zfGetClientStateC", "zfSetupClientB",
          "zfReadBulkSetupB", "zfCreateSubscription", "zfReadValueAttribute",
          "zfWriteValueAttributeIntB", "zfWriteValueAttributeStrB", "zfDateConvODBC2OPCUA",
          "zfDateConvOPCUA2UNIX", "zfDateConvUNIX2OPCUA", "zfBrowseNext"}) {
        EXPECT_EQ(host.call(entry).text(), failure(2, 9, kUnsupported)) << entry;
        EXPECT_EQ(host.call(entry, 1, "x").text(), failure(2, 9, kUnsupported)) << entry;
    }
}

TEST(CalloutEntries, VersionAnswersItsSixteenItems) {
    Host host;
    EXPECT_EQ(host.call("zfVersion").text(),
              "0, \"0.3.0\", \"0.3.0 \", 0, 3, 0, 2, \"\", 0, \"May  7 2021\", \"08:12:12\", 1, "
              "\"0.0.0\", 0, 0, 0, \"undefined\"");
}

TEST(CalloutEntries, NameTheirNumbers) {
    struct Case {
        const char* entry;
        long long number;
        const char* name;
    };
    const Case cases[] = {
        {"zfGetSimpleErrorCodeNameB", 0, "No Error"},
        {"zfGetSimpleErrorCodeNameB", 1, "Incomplete w/o Err"},
        {"zfGetSimpleErrorCodeNameB", 4, "OPC-UA Error"},
        {"zfGetSimpleErrorCodeNameB", 7, "Unknown Error"},
        {"zfGetSimpleErrorCodeNameB", 8, "Undefined Error"},
        {"zfGetSimpleErrorCodeNameB", -1, "Undefined Error"},
        {"zfGetChannelStateName", 0, "StateUndefined"},
        {"zfGetChannelStateName", 6, "Open"},
        {"zfGetChannelStateName", 8, "Closed"},
        {"zfGetChannelStateName", 9, "StateUndefined"},
        {"zfGetSessionStateName", 0, "Closed"},
        {"zfGetSessionStateName", 4, "Activated"},
        {"zfGetSessionStateName", 6, "Undefined"},
        {"zfGetClientStateNameB", 3, "Deprecated"},
    };
    Host host;
    for (const Case& c : cases) {
        EXPECT_EQ(host.call(c.entry, c.number).text(), "0, \"" + std::string(c.name) + "\"")
            << c.entry << ' ' << c.number;
    }
    // The code comes back as it was given, not cut to the 32 bits that are looked up.
    EXPECT_EQ(host.call("zfGetStatusCodeNameB", 0x180340000LL).text(),
              "0, \"BadNodeIdUnknown\", 6445858816");
    EXPECT_EQ(host.library().callText("zfTestStatusCodeName", 0), "Good");
}

TEST(CalloutHandles, AreNeverReused) {
    Host host;
    const long first = host.call("zfCreateClientB")[1].AsLong();
    EXPECT_EQ(host.call("zfCreateClientB").text(), "0, " + std::to_string(first + 1));
    EXPECT_EQ(host.call("zfDestroyClientB", first).text(), "0");
    EXPECT_EQ(host.call("zfCreateClientB").text(), "0, " + std::to_string(first + 2));
    EXPECT_EQ(host.library().callInteger("zfTestGetInt"), first + 2);
    EXPECT_EQ(host.call("zfDestroyClientB", first).text(), failure(2, 1, kBadHandle));
}

TEST(CalloutHandles, ThatLeadNowhereAreRefused) {
    Host host;
    const long destroyed = host.call("zfCreateClientB")[1].AsLong();
    ASSERT_TRUE(host.call("zfDestroyClientB", destroyed).ok());
    for (const long long handle :
         {0LL, -1LL, destroyed + 1000LL, 1LL * destroyed, std::numeric_limits<long long>::max()}) {
        for (const char* entry : {"zfDestroyClientB", "zfGetClientStateD", "zfDisconnectB"}) {
            EXPECT_EQ(host.call(entry, handle).text(), failure(2, 1, kBadHandle))
                << entry << ' ' << handle;
        }
    }
}

// Hosts reuse their buffers: what lies behind the stated length is another call's.
TEST(CalloutArguments, BehindTheStatedLengthAreNotThere) {
    Host host;
    auto out = std::make_unique<HostBytes>();
    auto in = std::make_unique<HostBytes>();
    VeltoList stale;
    for (int i = 0; i < 20; ++i) {
        stale += 1;
    }
    std::memcpy(in->data, stale.data(), stale.datalength());
    for (const auto& [entry, tag] : kTags) {
        in->length = 0;
        EXPECT_EQ(host.library().callRaw(entry, out.get(), in.get()), 0);
        const Result result(std::vector(out->data, out->data + out->length));
        EXPECT_EQ(result.text(), failure(7, 10, std::string("Unknown Error : ") + tag)) << entry;
    }
    in->length = 3;  // the first item alone: the second position is one past the last
    host.library().callRaw("zfGetUStr", out.get(), in.get());
    EXPECT_EQ(Result(std::vector(out->data, out->data + out->length)).text(),
              failure(7, 10, "Unknown Error : [B9]"));
}

TEST(CalloutArguments, ThatClaimMoreThanTheInputHasAreRefused) {
    Host host;
    // Hosts may pack their strings, so that the length lies at an odd address.
    std::vector<unsigned char> memory(2 * sizeof(HostBytes) + 4);
    unsigned char* odd = memory.data() + 1;
    auto* out = reinterpret_cast<HostBytes*>(odd);
    auto* in = reinterpret_cast<HostBytes*>(odd + (sizeof *out + 1) / 2 * 2);
    const unsigned char text[] = {0x05, 0x01, 'a', 'b', 'c'};
    std::memcpy(in->data, text, sizeof text);
    for (std::size_t length = 1; length < sizeof text; ++length) {
        in->length = static_cast<std::uint16_t>(length);
        host.library().callRaw("zfSetLogFile", out, in);
        EXPECT_EQ(Result(std::vector(out->data, out->data + out->length)).text(),
                  failure(7, 10, "Unknown Error : [B25]"))
            << length;
    }
    in->length = 40000;  // more than a counted string can hold
    host.library().callRaw("zfSetLogFile", out, in);
    EXPECT_EQ(Result(std::vector(out->data, out->data + out->length)).text(),
              failure(7, 10, "Unknown Error : [B25]"));
}

TEST(CalloutResults, OfMoreThanTheOutputHoldsAreNotWritten) {
    Host host;
    // Two bytes of status and four of header come with the text.
    const std::string fits(32767 - 6, 'x');
    const Result result = host.call("zfGetUStr", fits, VeltoNull());
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.list().datalength(), 32767U);
    EXPECT_EQ(result[1].AsAString(), fits);
    EXPECT_EQ(host.call("zfGetUStr", fits + 'x', VeltoNull()).text(), "output untouched");
}

TEST(CalloutResults, KeepTheirLengthModulo65536) {
    TestServer server;
    Host host;
    const long client = host.connectedClient(server.url());
    const std::string node(plant::longString.text);
    ASSERT_TRUE(host.call("zfReadBulkSetup", client, repeated(2, 3),
                          repeated(2, plant::namespaceIndex), repeated(2, node), repeated(2, 13))
                    .ok());
    // Per node: two dates of 56 bytes, the status, a medium header, its type and 40000 bytes.
    const std::size_t length = 2 + 2 * (56 + 56 + 2 + 4 + 40000);
    const auto bytes = host.library().call("zfReadBulkPoll", listOf(client, 1));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->size(), length - 65536);
    EXPECT_EQ(bytes->back(), 'x');
    EXPECT_EQ(VeltoROList(bytes->data(), bytes->size())[1].AsXString().size(), 27U);
    ASSERT_TRUE(host.call("zfDestroyClientB", client).ok());
}

}  // namespace
}  // namespace nimb::test
