// The callout table and what all handlers share, called as a host calls them.

#include <gtest/gtest.h>

#include <cstring>

#include "demo_server/plant_nodes.h"
#include "failures.h"
#include "host/counted_string.h"
#include "testbed/host.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

const std::string unsupported =
    applicationError(9, "Requested operation is not available in the NIMB OPC UA adapter.");

/// In the order of the table, which hosts know some of them by.
constexpr const char* entryNames[] = {"zfTest",
                                      "zfTestGetInt",
                                      "zfTestStatusCodeName",
                                      "zfReadLog",
                                      "zfGetStatusCodeNameB",
                                      "zfGetClientStateNameB",
                                      "zfGetSimpleErrorCodeNameB",
                                      "zfCreateClientB",
                                      "zfGetClientStateB",
                                      "zfGetClientStateC",
                                      "zfSetupClientB",
                                      "zfDestroyClientB",
                                      "zfConnectB",
                                      "zfDisconnectB",
                                      "zfReadBulkSetup",
                                      "zfReadBulkSetupB",
                                      "zfReadBulkSetupC",
                                      "zfReadBulkPoll",
                                      "zfReadBulkPollB",
                                      "zfReadBulkPollC",
                                      "zfReadBulkClear",
                                      "zfCreateSubscription",
                                      "zfCreateSubscriptionB",
                                      "zfPollSubscription",
                                      "zfDeleteSubscription",
                                      "zfReadAttribute",
                                      "zfReadValueAttribute",
                                      "zfWriteAttribute",
                                      "zfWriteValueAttributeIntB",
                                      "zfWriteValueAttributeStrB",
                                      "zfDateConvOPCUA2HOROLOG",
                                      "zfDateConvHOROLOG2OPCUA",
                                      "zfDateConvOPCUA2ODBC",
                                      "zfDateConvODBC2OPCUA",
                                      "zfDateConvOPCUA2UNIX",
                                      "zfDateConvUNIX2OPCUA",
                                      "zfGetClientStateD",
                                      "zfConnectUser",
                                      "zfSetupClientC",
                                      "zfGetChannelStateName",
                                      "zfGetSessionStateName",
                                      "zfBrowse",
                                      "zfBrowseNext",
                                      "zfVersion",
                                      "zfGetUStr",
                                      "zfSetLogFile"};

TEST(CalloutTable, HasItsRowsInOrder) {
    Host host;
    const auto rows = host.library().rows();
    ASSERT_EQ(rows.size(), std::size(entryNames));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_STREQ(rows[i].name, entryNames[i]) << i;
        const char* arguments = i == 1 ? "P" : i == 2 ? "1Ji" : i == 7 ? "B" : "Bb";
        EXPECT_STREQ(rows[i].arguments, arguments) << entryNames[i];
    }
}

TEST(CalloutTable, FourteenEntriesAreUnsupported) {
    Host host;
    for (const char* entry :
         {"zfTest", "zfReadLog", "zfGetClientStateB", "zfGetClientStateC", "zfSetupClientB",
          "zfReadBulkSetupB", "zfCreateSubscription", "zfReadValueAttribute",
          "zfWriteValueAttributeIntB", "zfWriteValueAttributeStrB", "zfDateConvODBC2OPCUA",
          "zfDateConvOPCUA2UNIX", "zfDateConvUNIX2OPCUA", "zfBrowseNext"}) {
        EXPECT_EQ(host.call(entry).text(), unsupported) << entry;
        EXPECT_EQ(host.call(entry, 1, "x").text(), unsupported) << entry;
    }
}

TEST(CalloutEntries, VersionAnswersItsSixteenItems) {
    Host host;
    EXPECT_EQ(host.call("zfVersion").text(),
              "0, \"0.3.0\", \"0.3.0 \", 0, 3, 0, 2, \"\", 0, \"May  7 2021\", \"08:12:12\", 1, "
              "\"0.0.0\", 0, 0, 0, \"undefined\"");
}

TEST(CalloutEntries, NameTheirNumbers) {
    // From 0 on; what lies on either side has the last name.
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"zfGetSimpleErrorCodeNameB",
         {"No Error", "Incomplete w/o Err", "Application Error", "Callin Error", "OPC-UA Error",
          "Client Error", "Server Error", "Unknown Error", "Undefined Error"}},
        {"zfGetChannelStateName",
         {"StateUndefined", "HelSent", "HelReceived", "AckSent", "AckReceived", "OpnSent", "Open",
          "Closing", "Closed", "StateUndefined"}},
        {"zfGetSessionStateName",
         {"Closed", "CreateRequested", "Created", "ActivateRequested", "Activated", "Closing",
          "Undefined"}},
        {"zfGetClientStateNameB", {"Deprecated"}},
    };
    Host host;
    for (const auto& [entry, names] : cases) {
        for (std::size_t number = 0; number < names.size(); ++number) {
            EXPECT_EQ(host.call(entry, number).text(), "0, \"" + names[number] + "\"") << number;
        }
        EXPECT_EQ(host.call(entry, -1).text(), "0, \"" + names.back() + "\"") << entry;
    }
    // The code comes back as it was given, not cut to the 32 bits that are looked up.
    EXPECT_EQ(host.call("zfGetStatusCodeNameB", 0x180340000LL).text(),
              "0, \"BadNodeIdUnknown\", 6445858816");
    EXPECT_EQ(host.library().callText("zfTestStatusCodeName", 0), "Good");
}

TEST(CalloutEntries, UnescapeTextOfEitherWidthAndNumbers) {
    Host host;
    for (const VeltoList& given :
         {listOf("a\\u00e4"), listOf(std::u16string(u"a\\u00e4")), listOf("aä")}) {
        EXPECT_EQ(host.callWith("zfGetUStr", joined(given, listOf(0))).text(), "0, \"aä\"");
    }
    EXPECT_EQ(host.call("zfGetUStr", 12, 0).text(), "0, \"12\"");
}

TEST(CalloutHandles, AreNeverReused) {
    Host host;
    const long first = host.bareClient();
    EXPECT_EQ(host.call("zfCreateClientB").text(), "0, " + std::to_string(first + 1));
    EXPECT_EQ(host.call("zfDestroyClientB", first).text(), "0");
    EXPECT_EQ(host.call("zfCreateClientB").text(), "0, " + std::to_string(first + 2));
    EXPECT_EQ(host.library().callInteger("zfTestGetInt"), first + 2);
    EXPECT_EQ(host.call("zfDestroyClientB", first).text(), badHandle);
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
                  unknownError("[B25]"))
            << length;
    }
    in->length = 40000;  // more than a counted string can hold
    host.library().callRaw("zfSetLogFile", out, in);
    EXPECT_EQ(Result(std::vector(out->data, out->data + out->length)).text(),
              unknownError("[B25]"));
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
    EXPECT_EQ(bytes->data()[bytes->size() - 1], 'x');
    EXPECT_EQ(VeltoROList(bytes->data(), bytes->size())[1].AsXString().size(), 27U);
    ASSERT_TRUE(host.call("zfDestroyClientB", client).ok());
}

}  // namespace
}  // namespace nimb::test
