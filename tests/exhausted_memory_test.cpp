// The n-th allocation of a call fails, for every n: the result is a failure list or, where the
// allocation does not matter, a success; nothing is lost, and the next call works.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "following.h"
#include "reading_plant.h"
#include "testbed/call_buffers.h"
#include "testbed/failing_allocation.h"
#include "testbed/server_process.h"

namespace nimb::test {
namespace {

struct Call {
    const char* entry;
    VeltoList arguments;
};

/// Calls entries on one client with nothing of the test's own allocated in between.
class Caller {
  public:
    explicit Caller(Host& host) : host_(host) {}

    /// The outcome of the call when its n-th allocation fails; `failed` tells whether it had one.
    Result call(const Call& call, long n, bool& failed) {
        const nimb_callout_row* row = host_.library().find(call.entry);
        {
            const FailingAllocation failure(n, reinterpret_cast<const void*>(row->function));
            buffers_.call(*row, call.arguments);
            failed = failure.failed();
        }
        return buffers_.result();
    }

    /// Fails every allocation of the call, one each time, and returns how many there were.
    long failEach(const Call& tried) {
        bool failed = true;
        long n = 0;
        for (; failed && n < 2000; ++n) {
            const Result result = call(tried, n, failed);
            EXPECT_TRUE(result.written()) << "allocation " << n;
            const std::string text = result.text();
            EXPECT_TRUE(result.ok() || (failed && text.starts_with("1, "))) << text;
        }
        EXPECT_FALSE(failed);
        return n - 1;
    }

  private:
    Host& host_;
    CallBuffers buffers_;
};

const VeltoList& nodes() {
    static const VeltoList list =
        specification({plant::tank1Level, plant::matrix2x3, plant::pump1State});
    return list;
}

VeltoList createArguments(long client) {
    return listOf(client, nodes(), 5.0, 10000, 100, 0, 0.0, 10, 0);
}

std::vector<Call> callsWithoutServer() {
    return {
        {"zfVersion", {}},
        {"zfGetUStr", listOf("a\\u00e4 and so on, beyond any short string", 0)},
        {"zfGetStatusCodeNameB", listOf(0x800A0000LL)},
        {"zfGetChannelStateName", listOf(6)},
        {"zfDateConvOPCUA2HOROLOG", listOf(125912016001234567LL)},
        {"zfDateConvHOROLOG2OPCUA", listOf("67000,43200.5")},
        {"zfDateConvOPCUA2ODBC", listOf(125912016001234567LL)},
        {"zfCreateClientB", {}},
    };
}

std::vector<Call> callsOn(long client, long query, long subscription) {
    const VeltoList node = listOf("Tank1.SetPoint", 2, 3, 13);
    return {
        {"zfReadAttribute", joined(listOf(client), node)},
        {"zfWriteAttribute", joined(listOf(client, 50.5, 10), node)},
        {"zfWriteAttribute", listOf(client, "a text beyond any short string", 11, 4011, 2, 0, 13)},
        {"zfBrowse", listOf(client, listOf(0, 3), listOf(0, 2), listOf(85, "Tank1.Level"))},
        {"zfReadBulkSetup",
         listOf(client, listOf(0, 3), listOf(2, 2), listOf(1020, "Tank1.Level"), listOf(13, 13))},
        {"zfReadBulkSetupC", listOf(client, nodes())},
        {"zfReadBulkPoll", listOf(client, query)},
        {"zfReadBulkPollB", listOf(client, query)},
        {"zfReadBulkPollC", listOf(client, query, 1, 2)},
        {"zfCreateSubscriptionB", createArguments(client)},
        {"zfPollSubscription", listOf(client, subscription, 20, 0, 1)},
        {"zfGetClientStateD", listOf(client)},
    };
}

TEST(Memory, ExhaustedWithoutServerIsAFailureOfTheCall) {
    Host host;
    Caller caller(host);
    for (const Call& call : callsWithoutServer()) {
        SCOPED_TRACE(call.entry);
        if (std::string_view(call.entry) != "zfCreateClientB") caller.failEach(call);
    }
}

/// One session in which every call fails at each of its allocations.
long failWholeSession(Host& host, const std::string& url, int stringMode) {
    Caller caller(host);
    const long client = host.bareClient();
    const auto setUp = listOf(client, 5000, 1, "", "", "", "", "", stringMode);
    const auto connect = listOf(client, url);
    const auto logIn = listOf(client, url, "operator", "plant-7");
    long allocations = caller.failEach({"zfSetupClientC", setUp});
    allocations += caller.failEach({"zfConnectB", connect});
    allocations += caller.failEach({"zfConnectUser", logIn});
    const long query = host.call("zfReadBulkSetupC", client, nodes())[1].AsLong();
    const Result created = host.callWith("zfCreateSubscriptionB", createArguments(client));
    EXPECT_TRUE(created.ok()) << created.text();
    const long subscription = created[1].AsLong();
    for (const Call& call : callsOn(client, query, subscription)) {
        SCOPED_TRACE(call.entry);
        const long count = caller.failEach(call);
        allocations += count;
    }
    const Result deleted = host.call("zfDeleteSubscription", client, subscription);
    EXPECT_TRUE(deleted.ok()) << deleted.text();
    host.call("zfDestroyClientB", client);
    return allocations;
}

TEST(Memory, ExhaustedInASessionIsAFailureOfTheCallAndLosesNothing) {
    const ServerProcess server;
    Host host;
    for (const int stringMode : {0, 1}) {
        EXPECT_GT(failWholeSession(host, server.url(), stringMode), 20);
    }
#ifndef __SANITIZE_ADDRESS__
    const long before = liveBlocks();
    constexpr int rounds = 3;
    for (int i = 0; i < rounds; ++i) failWholeSession(host, server.url(), 0);
    EXPECT_EQ(liveBlocks() - before, rounds);  // the registry keeps one for each handle
#endif
}

/// Nobody answers, so that the stack makes no copies of its own: those are out of reach.
TEST(Memory, APasswordIsWipedBeforeItsMemoryIsFreed) {
    static const std::string secret = "a password beyond any short string";
    Host host;
    Caller caller(host);
    const long client = host.bareClient();
    ASSERT_TRUE(host.call("zfSetupClientC", client, 1000, 1, "", "", "", "", "", 0).ok());
    const std::string url = "opc.tcp://127.0.0.1:1";
    const Call logIns[] = {{"zfConnectUser", listOf(client, url, "operator", secret)},
                           {"zfConnectUser", listOf(client, url, "operator", "x")},
                           {"zfConnectUser", listOf(client, url, "operator", secret)},
                           {"zfDestroyClientB", listOf(client)}};
    const FreedText freed(secret);
    for (const Call& call : logIns) {
        bool failed = false;
        caller.call(call, 1000000, failed);
    }
    EXPECT_EQ(freed.count(), 0);
}

}  // namespace
}  // namespace nimb::test
