// What entries refuse without a word to the server: one row for each refusal, with the client in
// the state that tells it from the refusals before and behind it.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "failures.h"
#include "testbed/nodes.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

/// The client whose handle stands before the arguments.
enum class Client {
    none,       ///< there is no handle at all
    unknown,    ///< its handle was never issued
    bare,       ///< never set up
    prepared,   ///< set up, never connected
    ended,      ///< disconnected
    connected,  ///< its server does not answer any more
    reset,      ///< connected, behind a set-up that was refused
};

struct Refusal {
    const char* entry;
    Client client;
    VeltoList arguments;
    std::string answer;
};
using Refusals = std::vector<Refusal>;

const VeltoList one = listOf(0);
const VeltoList two = listOf(0, 0);
const VeltoList three = listOf(0, 0, 0);
const VeltoList torn = listOf("\x02\x03");
const std::string noNodeId = applicationError(4, "NodeId error");
const std::string readFailed = "Error encountered during execution of read request";
const std::string noQuery = "Query handle does not correspond to a prespecified read request";

Refusals ofArguments() {
    return {
        {"zfGetStatusCodeNameB", Client::none, {}, unknownError("[B1]")},
        {"zfGetClientStateNameB", Client::none, {}, unknownError("[B2]")},
        {"zfGetSimpleErrorCodeNameB", Client::none, {}, unknownError("[B3]")},
        {"zfGetClientStateD", Client::none, {}, unknownError("[B5]")},
        {"zfDestroyClientB", Client::none, {}, unknownError("[B7]")},
        {"zfConnectB", Client::none, {}, unknownError("[B8]")},
        {"zfConnectUser", Client::none, {}, unknownError("[B8]")},
        {"zfDisconnectB", Client::none, {}, unknownError("[B9]")},
        {"zfReadBulkSetup", Client::none, {}, unknownError("[B10]")},
        {"zfReadBulkSetupC", Client::none, {}, unknownError("[B11]")},
        {"zfReadBulkPoll", Client::none, {}, unknownError("[B12]")},
        {"zfReadBulkPollB", Client::none, {}, unknownError("[B13]")},
        {"zfReadBulkPollC", Client::none, {}, unknownError("[B14]")},
        {"zfReadBulkClear", Client::none, {}, unknownError("[B15]")},
        {"zfCreateSubscriptionB", Client::none, {}, unknownError("[B16]")},
        {"zfPollSubscription", Client::none, {}, unknownError("[B17]")},
        {"zfDeleteSubscription", Client::none, {}, unknownError("[B18]")},
        {"zfDateConvOPCUA2HOROLOG", Client::none, {}, unknownError("[B19]")},
        {"zfDateConvHOROLOG2OPCUA", Client::none, {}, unknownError("[B20]")},
        {"zfDateConvOPCUA2ODBC", Client::none, {}, unknownError("[B21]")},
        {"zfReadAttribute", Client::none, {}, unknownError("[B22]")},
        {"zfWriteAttribute", Client::none, {}, unknownError("[B23]")},
        {"zfBrowse", Client::none, {}, unknownError("[B24]")},
        {"zfSetLogFile", Client::none, {}, unknownError("[B25]")},
        {"zfGetUStr", Client::none, {}, unknownError("[B9]")},
        {"zfGetUStr", Client::none, listOf("x"), unknownError("[B9]")},
        {"zfGetChannelStateName",
         Client::none,
         {},
         unknownError("Unable to recognize secure channel state [B2.1]")},
        {"zfGetSessionStateName",
         Client::none,
         {},
         unknownError("Unable to recognize session state [B2.2]")},
        {"zfSetupClientC", Client::none, {}, unknownError("[B6.1]")},
        {"zfReadBulkSetupC", Client::unknown, {}, unknownError("[B11]")},
        {"zfReadBulkPoll", Client::connected, {}, unknownError("[B12]")},
        {"zfReadBulkPollB", Client::connected, {}, unknownError("[B13]")},
        {"zfReadBulkPollC", Client::connected, {}, unknownError("[B14]")},
        {"zfReadBulkPollC", Client::connected, listOf(99, 0), unknownError("[B14]")},
        {"zfReadBulkClear", Client::connected, {}, unknownError("[B15]")},
        {"zfDeleteSubscription", Client::connected, {}, unknownError("[B18]")},
        {"zfPollSubscription", Client::connected, listOf(1, 0, 0), unknownError("[B17]")},
    };
}

/// A set-up reads all its arguments before it does anything.
Refusals ofSetUps() {
    Refusals rows;
    VeltoList arguments = listOf(500);
    for (int item = 2; item < 9; ++item, arguments += 1) {
        rows.push_back({"zfSetupClientC", Client::connected, arguments, unknownError("[B6.1]")});
    }
    return rows;
}

Refusals ofReads() {
    const VeltoList node = listOf(1012, 2, 0);
    const VeltoList all = joined(node, listOf(valueAttribute));
    Refusals rows = {
        {"zfReadAttribute", Client::unknown, listOf(1012, 2, 4, 12), badHandle},
        {"zfReadAttribute", Client::bare, listOf(1012, 2, 4, 12), noNodeId},
        {"zfReadAttribute", Client::bare, listOf(1012, 2), noNodeId},
        {"zfReadAttribute", Client::bare, node, unknownError("[B22]")},
        {"zfReadAttribute", Client::bare, all, uninitialized},
        {"zfReadAttribute", Client::prepared, all, closedConnection(readFailed)},
        {"zfReadAttribute", Client::ended, all, closedConnection(readFailed)},
        {"zfReadAttribute", Client::reset, all, resetRequired},
    };
    for (const int attribute : {-1, 0, 1, 12, 14, 269}) {
        rows.push_back({"zfReadAttribute", Client::bare, joined(node, listOf(attribute)),
                        applicationError(9, "Query of selected attribute is unsupported")});
    }
    return rows;
}

Refusals ofWrites() {
    const VeltoList node = listOf(1012, 2, 0);
    const VeltoList all = joined(node, listOf(valueAttribute));
    Refusals rows = {
        {"zfWriteAttribute", Client::unknown, listOf(1), badHandle},
        {"zfWriteAttribute", Client::bare, listOf(1), unknownError("[B23]")},
        {"zfWriteAttribute", Client::bare, listOf(1, 0, 1012, 2, 4, 12), noNodeId},
        {"zfWriteAttribute", Client::bare, joined(listOf(1, 0), node), unknownError("[B23]")},
    };
    for (const int attribute : {1, 12, 14}) {
        rows.push_back({"zfWriteAttribute", Client::bare,
                        joined(listOf(1, 0), node, listOf(attribute)),
                        applicationError(9, "Write of selected attribute is unsupported")});
    }
    for (const int type : {-1, 0, 8, 12, 13, 14, 15, 16, 17, 19, 22, 64, 1000}) {
        rows.push_back({"zfWriteAttribute", Client::bare, joined(listOf(1, type), all),
                        applicationError(6, "Input (type=" + std::to_string(type) + ")")});
    }
    for (const auto& [type, tag] : {std::pair{5, "[C3.a]"}, {10, "[C6.a]"}, {11, "[C4]"}}) {
        const VeltoList arguments = joined(listOf(1, type), all);
        rows.push_back({"zfWriteAttribute", Client::bare, arguments, uninitialized});
        rows.push_back({"zfWriteAttribute", Client::prepared, arguments, closedConnection(tag)});
        rows.push_back({"zfWriteAttribute", Client::ended, arguments, closedConnection(tag)});
        rows.push_back({"zfWriteAttribute", Client::reset, arguments, resetRequired});
    }
    return rows;
}

Refusals ofBrowses() {
    return {
        {"zfBrowse", Client::unknown, listOf(two, two, three), inconsistentLists},
        {"zfBrowse", Client::unknown, listOf(two, three, two), inconsistentLists},
        {"zfBrowse", Client::unknown, listOf(three, two, two), inconsistentLists},
        {"zfBrowse", Client::unknown, listOf(listOf(0, 4), two, two),
         applicationError(4, "idx = 1")},
        {"zfBrowse", Client::unknown, listOf(two, two, two), badHandle},
        {"zfBrowse", Client::unknown, listOf(two, two), unknownError("[B24]")},
        {"zfBrowse", Client::unknown, listOf("\xFF", "\xFF", "\xFF"), unknownError("[B24]")},
        {"zfBrowse", Client::bare, listOf(listOf(5, 0), two, two), applicationError(4, "idx = 0")},
        {"zfBrowse", Client::bare, listOf(two, two, two), uninitialized},
        {"zfBrowse", Client::reset, listOf(two, two, two), resetRequired},
        // A service that fails is one without results.
        {"zfBrowse", Client::ended, listOf(one, one, one), "0, 0, \"\", \"\""},
    };
}

Refusals ofBulkReads() {
    Refusals rows = {
        {"zfReadBulkSetup", Client::unknown, listOf(one, one, one), unknownError("[B10]")},
        {"zfReadBulkSetup", Client::unknown, listOf(two, one, two, two), inconsistentLists},
        {"zfReadBulkSetup", Client::unknown, listOf(two, two, one, two), inconsistentLists},
        {"zfReadBulkSetup", Client::unknown, listOf(two, two, two, one), inconsistentLists},
        {"zfReadBulkSetup", Client::unknown, listOf(listOf(0, 5), two, two, two),
         applicationError(4, "idx = 1")},
        // An attribute id that cannot be read.
        {"zfReadBulkSetup", Client::unknown, listOf(one, one, one, "\x02\x03"),
         unknownError("[B10]")},
        {"zfReadBulkSetup", Client::unknown, listOf(two, two, two, two), badHandle},
        {"zfReadBulkSetupC", Client::unknown, listOf(container(property("42"))), badHandle},
        {"zfReadBulkClear", Client::unknown, listOf(1), badHandle},
        {"zfReadBulkPollC", Client::bare, listOf(99, 0, 3),
         applicationError(9, "Invalid datetime format option (opt=3)")},
        {"zfReadBulkPollC", Client::connected, listOf(99, 0, -1),
         unknownError(noQuery + " [rbp-c] : handle = 99", 5)},
    };
    const std::pair<const char*, std::string> polls[] = {
        {"zfReadBulkPoll", unknownError(noQuery + " : handle = 99", 5)},
        {"zfReadBulkPollB", applicationError(10, noQuery + " : handle = 99")},
        {"zfReadBulkPollC", unknownError(noQuery + " [rbp-c] : handle = 99", 5)}};
    for (const auto& [poll, unknown] : polls) {
        rows.push_back({poll, Client::unknown, listOf(99, 0, 3), badHandle});
        rows.push_back({poll, Client::bare, listOf(99, 0, 0), uninitialized});
        rows.push_back({poll, Client::reset, listOf(99, 0, 0), resetRequired});
        rows.push_back({poll, Client::connected, listOf(99, 0, 0), unknown});
    }
    return rows;
}

Refusals ofSubscriptions() {
    const VeltoList nodes = specification({plant::tank1Level});
    const VeltoList rest = listOf(5, 1, 1, 0, 0, 1, 0);
    const auto create = [&](const VeltoList& described) { return joined(listOf(described), rest); };
    const std::string notFound = "Subscription not found (handle=99)";
    return {
        {"zfCreateSubscriptionB", Client::connected, listOf(nodes, 5, 1, 1, 0, 0, 1),
         unknownError("[B16]")},
        {"zfCreateSubscriptionB", Client::connected, create(listOf("", "", listOf(""))),
         failure(5, 9, "Unknown Error : Empty node list, there is nothing to follow")},
        {"zfCreateSubscriptionB", Client::connected, create(listOf(1, 2, 3)),
         applicationError(10,
                          "Malformed specification. Unable to access Specification as an NIMB "
                          "list")},
        {"zfCreateSubscriptionB", Client::bare, create(nodes), unknownError("Null client", 5)},
        {"zfCreateSubscriptionB", Client::reset, create(nodes), resetRequired},
        {"zfCreateSubscriptionB", Client::ended, create(nodes),
         closedConnection("Unable to create subscription. Call failed.")},
        {"zfPollSubscription", Client::bare, listOf(1, 0, 0, 0), uninitialized},
        {"zfPollSubscription", Client::connected, listOf(99, 0, 0, 0),
         applicationError(9, notFound)},
        {"zfPollSubscription", Client::reset, listOf(99, 0, 0, 0), resetRequired},
        {"zfPollSubscription", Client::reset, listOf(99, 0, 0, 1), resetDue(" [ps]")},
        {"zfDeleteSubscription", Client::bare, listOf(1), uninitialized},
        {"zfDeleteSubscription", Client::connected, listOf(99),
         applicationError(9, "Subscription not found : handle = 99, subscription count = 0")},
    };
}

Refusals ofConnects() {
    const char* url = "opc.tcp://127.0.0.1:1";
    const VeltoList user = listOf(url, "operator", "plant-7");
    return {
        {"zfConnectB", Client::bare, listOf(url), uninitialized},
        {"zfConnectUser", Client::bare, user, uninitialized},
        {"zfConnectUser", Client::connected, listOf(url, "operator"), unknownError("[B8]")},
        {"zfDisconnectB", Client::bare, {}, uninitialized},
        {"zfGetClientStateD",
         Client::bare,
         {},
         applicationError(7, "State enquiry regarding uninitialized client")},
    };
}

TEST(Refused, BeforeTheServerHearsOfIt) {
    TestServer server;
    Host host;
    constexpr int timeout = 500;
    std::map<Client, long> clients = {{Client::unknown, 424242},
                                      {Client::bare, host.bareClient()},
                                      {Client::prepared, host.newClient(timeout)}};
    for (const Client state : {Client::ended, Client::connected, Client::reset}) {
        clients[state] = host.connectedClient(server.url(), timeout);
    }
    host.call("zfDisconnectB", clients[Client::ended]);
    // A mode that is refused.
    host.call("zfSetupClientC", clients[Client::reset], timeout, 2, "", "", "", "", "", 0);
    server.pause();  // whatever is sent would time out
    for (const Refusals& rows : {ofArguments(), ofSetUps(), ofReads(), ofWrites(), ofBrowses(),
                                 ofBulkReads(), ofSubscriptions(), ofConnects()}) {
        for (const auto& [entry, state, arguments, answer] : rows) {
            const VeltoList handle = state == Client::none ? VeltoList() : listOf(clients[state]);
            EXPECT_EQ(host.callWith(entry, joined(handle, arguments)).text(), answer)
                << entry << " in state " << static_cast<int>(state) << " with "
                << describe(arguments);
        }
    }
    server.resume();
    EXPECT_EQ(server.sessionCount(), 2U);
    for (const auto& [state, client] : clients) host.call("zfDestroyClientB", client);
}

/// Entries whose first argument is a handle, with what else they want.
Refusals onAnyHandle() {
    const VeltoList nodes = specification({plant::tank1Level});
    const VeltoList node = listOf("Tank1.Level", 2, 3, 13);
    const auto row = [](const char* entry, const VeltoList& arguments) {
        return Refusal{entry, Client::unknown, arguments, badHandle};
    };
    return {
        row("zfSetupClientC", listOf(100, 1, "", "", "", "", "", 0)),
        row("zfConnectB", listOf("opc.tcp://127.0.0.1:1")),
        row("zfConnectUser", listOf("opc.tcp://127.0.0.1:1", "user", "password")),
        row("zfGetClientStateD", {}),
        row("zfDisconnectB", {}),
        row("zfDestroyClientB", {}),
        row("zfReadAttribute", node),
        row("zfWriteAttribute", joined(listOf(1, 6), node)),
        row("zfBrowse", listOf(listOf(0), listOf(0), listOf(85))),
        row("zfReadBulkSetup", listOf(listOf(0), listOf(0), listOf(85), listOf(13))),
        row("zfReadBulkSetupC", listOf(nodes)),
        row("zfReadBulkPoll", listOf(1)),
        row("zfReadBulkPollB", listOf(1)),
        row("zfReadBulkPollC", listOf(1, 0, 2)),
        row("zfReadBulkClear", listOf(1)),
        row("zfCreateSubscriptionB", listOf(nodes, 5.0, 100, 10, 0, 5.0, 10, 0)),
        row("zfPollSubscription", listOf(1, 0, 0, 1)),
        row("zfDeleteSubscription", listOf(1)),
    };
}

TEST(Handles, WithoutClientAreRefusedByEveryEntry) {
    Host host;
    const long destroyed = host.bareClient();
    ASSERT_TRUE(host.call("zfDestroyClientB", destroyed).ok());
    for (const long long handle :
         {1LL * destroyed, destroyed + 1000LL, 0LL, -1LL, std::numeric_limits<long long>::max(),
          std::numeric_limits<long long>::min()}) {
        for (const Refusal& row : onAnyHandle()) {
            EXPECT_EQ(host.callWith(row.entry, joined(listOf(handle), row.arguments)).text(),
                      badHandle)
                << row.entry << " on " << handle;
        }
    }
}

}  // namespace
}  // namespace nimb::test
