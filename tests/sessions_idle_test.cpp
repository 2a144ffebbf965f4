// Hosts that call rarely: servers let channels and sessions end between two calls.

#include <atomic>
#include <thread>

#include "demo_server/address_space.h"
#include "following.h"
#include "sessions_support.h"

namespace nimb::test {
namespace {

using std::chrono::milliseconds;

plant::PlantOptions living(milliseconds channels, milliseconds sessions) {
    plant::PlantOptions options;
    options.channelLifetime = channels;
    options.sessionTimeout = sessions;
    return options;
}

Result create(Host& host, long client) {
    return host.call("zfCreateSubscriptionB", client, specification({plant::tank1Level}), 20.0,
                     10000, 100, 0, 0.0, 10, 0);
}

std::string state(Host& host, long client) { return host.call("zfGetClientStateD", client).text(); }

Result read(Host& host, long client) {
    return host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13);
}

std::atomic<int> writes;

void countWrites(TestServer& server) {
    writes = 0;
    server.run([](plant::PlantServer& plant) {
        UA_ValueCallback callback{};
        callback.onWrite = [](auto...) { ++writes; };
        UA_Server_setVariableNode_valueCallback(plant.server(), stackId(plant::tank1SetPoint),
                                                callback);
    });
}

/// Each kind of request is the first one of its client behind an idle time: within the renewal of
/// the channel, between its end and the server's look at the clock, which is due every second, and
/// behind that.
TEST(IdleTime, NoRequestIsLostWithAChannelThatEndedMeanwhile) {
    TestServer server(living(milliseconds(1000), {}));
    countWrites(server);
    Host host;
    const std::function<Result(long)> calls[] = {
        [&](long client) { return read(host, client); },
        [&](long client) {
            return host.call("zfWriteAttribute", client, 1.5, 10, "Tank1.SetPoint", 2, 3, 13);
        },
        [&](long client) {
            return host.call("zfBrowse", client, listOf(0), listOf(0), listOf(85));
        },
        [&](long client) { return host.call("zfReadBulkPoll", client, 1); },
        [&, subscribed = false](long client) mutable {
            const bool first = !std::exchange(subscribed, true);
            return first ? create(host, client) : host.call("zfDeleteSubscription", client, 1);
        },
    };
    const std::size_t count = std::size(calls);
    std::vector<long> clients;
    for (std::size_t i = 0; i < count; ++i) {
        clients.push_back(host.connectedClient(server.url(), 3000));
        host.call("zfReadBulkSetup", clients[i], listOf(3), listOf(2), listOf("Tank1.Level"),
                  listOf(13));
    }
    for (const int idle : {850, 1250, 2600}) {
        std::this_thread::sleep_for(milliseconds(idle));
        for (std::size_t i = 0; i < (idle == 850 ? count - 1 : count); ++i) {
            const Result result = calls[i](clients[i]);
            EXPECT_TRUE(result.ok() && result.text() != "0, 0, \"\", \"\"")
                << idle << " ms, " << i << ": " << result.text();
        }
    }
    EXPECT_EQ(server.sessionCount(), clients.size());
    EXPECT_EQ(writes, 3);
    for (const long client : clients) host.call("zfDestroyClientB", client);
}

TEST(IdleTime, TheStateSaysThatASessionIsGone) {
    TestServer server(living({}, milliseconds(1000)));
    TestServer brief(living(milliseconds(1000), milliseconds(1000)));
    Host host;
    const long plain = host.connectedClient(server.url());
    const long following = host.connectedClient(server.url());
    const long renewed = host.connectedClient(brief.url());
    const long renewedFollowing = host.connectedClient(brief.url());
    ASSERT_TRUE(create(host, following).ok() && create(host, renewedFollowing).ok());
    std::this_thread::sleep_for(milliseconds(2600));
    // On a channel that lives, the first request tells.
    EXPECT_EQ(read(host, plain).text().substr(0, 6), "1, 4, ");
    EXPECT_TRUE(state(host, plain).ends_with(", 0, 8, 0, 0")) << state(host, plain);
    EXPECT_TRUE(host.call("zfConnectB", plain, server.url()).ok());
    EXPECT_TRUE(read(host, plain).ok());
    EXPECT_FALSE(read(host, following).ok());
    EXPECT_EQ(state(host, following).back(), '1') << "reset required";
    // With a new channel comes a new session; only what belonged to the old one is lost.
    EXPECT_TRUE(read(host, renewed).ok());
    EXPECT_EQ(state(host, renewed), "0, 0, 1, 6, 4, 0");
    static_cast<void>(read(host, renewedFollowing));
    EXPECT_EQ(state(host, renewedFollowing).back(), '1');
    for (const long client : {plain, following, renewed, renewedFollowing}) {
        host.call("zfDestroyClientB", client);
    }
}

}  // namespace
}  // namespace nimb::test
