// Servers that die, freeze, come back or forget while a host follows their values.

#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include "failures.h"
#include "following.h"
#include "testbed/fault_proxy.h"
#include "testbed/server_process.h"
#include "testbed/temp_dir.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

using std::chrono::milliseconds;

constexpr int requestTimeout = 500;  // milliseconds
constexpr int pollTimeout = 50;      // milliseconds
constexpr milliseconds margin{400};  // what a busy machine may add to a timeout
constexpr plant::NodeAddress speed = plant::pump1Speed;

const std::string noLines = "0, 0, \"\", [0, 0, 0, 0, 0, 0, 0]";
const std::string serverDeleted =
    failure(6, 9, "Unknown Error : Non-active subscription status (SERVER DELETED)");
class SubscriptionLoss : public testing::Test {
  protected:
    /// A subscription to the pump's speed whose first value has been seen.
    long followSpeed(Follower& follower) {
        Parameters p;
        p.publishingInterval = 20;
        p.keepAliveCount = 5;
        const long id = follower.follow({speed}, p);
        EXPECT_TRUE(follower.await(id, 1));
        EXPECT_EQ(follower.lines(id), "[1450]");
        return id;
    }
    static bool connected(Follower& follower) {
        return follower.host.call("zfGetClientStateD", follower.client)[2].AsLong() == 1;
    }
    /// Polls until `done` holds of a poll's result; every poll keeps its time.
    template <typename Done>
    static bool pollUntil(Follower& follower, long id, Done done) {
        return waitUntil([&] {
            std::string text;
            EXPECT_LT(timeOf([&] { text = follower.poll(id, pollTimeout).text(); }),
                      milliseconds(pollTimeout) + margin);
            return done(text);
        });
    }
    static void writeSpeed(Follower& follower, int value) {
        EXPECT_TRUE(
            follower.host
                .call("zfWriteAttribute", follower.client, value, UA_TYPES_INT32, 1012, 2, 0, 13)
                .ok());
    }
    std::string log() { return readFile("uaclogfile_watch.txt"); }
    bool logged(const std::string& text) {
        return std::filesystem::exists("uaclogfile_watch.txt") &&
               log().find(text) != std::string::npos;
    }

    WorkingDir directory;
};

TEST_F(SubscriptionLoss, AKilledServerShowsInTheStateAndItsLossOnceItIsBack) {
    ServerProcess server;
    Follower follower(server.url(), requestTimeout);
    const long id = followSpeed(follower);
    server.kill();
    EXPECT_TRUE(pollUntil(follower, id, [&](const std::string& text) {
        EXPECT_EQ(text, noLines);
        return !connected(follower);
    }));
    server.start();
    EXPECT_TRUE(pollUntil(follower, id, [](const std::string& text) { return text != noLines; }))
        << "polls connect again";
    EXPECT_EQ(follower.poll(id).text(), resetRequired);
}

/// What moving values leave in the socket ends in a send that fails, after which the stack does not
/// connect again by itself.
TEST_F(SubscriptionLoss, ARestartBetweenTwoPollsIsToldByTheNextOnes) {
    for (const char* changes : {"1:3600000", "50:5"}) {
        ServerProcess server({"--change", changes});
        Follower follower(server.url(), requestTimeout);
        const long id = follower.follow({plant::bulkPoint(0)}, {.publishingInterval = 20});
        ASSERT_TRUE(follower.await(id, 1));
        follower.lines(id);
        std::this_thread::sleep_for(milliseconds(100));  // for values that nobody takes
        server.kill();
        server.start();
        std::string text;
        for (int polls = 0; polls < 2 && !text.starts_with("1, "); ++polls) {
            text = follower.poll(id, 500).text();
        }
        EXPECT_EQ(text, serverDeleted) << changes;
        EXPECT_EQ(follower.poll(id).text(), resetRequired);
        EXPECT_EQ(follower.host.call("zfGetClientStateD", follower.client)[5].AsLong(), 1);
    }
}

TEST_F(SubscriptionLoss, ASessionThatTheServerClosesEndsTheSubscription) {
    TestServer server;
    Follower follower(server.url(), requestTimeout);
    const long id = followSpeed(follower);
    server.closeSessions();
    EXPECT_TRUE(pollUntil(follower, id, [](const std::string& text) {
        EXPECT_TRUE(text == noLines || text == serverDeleted) << text;
        return text == serverDeleted;
    }));
    EXPECT_EQ(follower.poll(id).text(), resetRequired);
}

TEST_F(SubscriptionLoss, AFrozenServerIsToldInTheLogAndGoesOnAfterwards) {
    ServerProcess server;
    Follower follower(server.url(), requestTimeout);
    const long id = followSpeed(follower);
    follower.host.call("zfSetLogFile", "watch");
    server.freeze();
    const std::string line = "Subscription " + std::to_string(id) +
                             " is silent: nothing from the server, not even a keep-alive, for more "
                             "than 600 ms; last change ";
    EXPECT_TRUE(pollUntil(follower, id, [&](const std::string& text) {
        EXPECT_EQ(text, noLines);
        return logged(line);
    }));
    follower.host.call("zfSetLogFile", "");
    EXPECT_GE(std::stol(log().substr(log().find("last change ") + 12)), 600);
    EXPECT_TRUE(connected(follower)) << "the state query cannot tell";
    server.thaw();
    writeSpeed(follower, 9);
    EXPECT_TRUE(pollUntil(follower, id, [](const std::string& text) {
        return text.find(", 0, 9]") != std::string::npos;
    }));
}

TEST_F(SubscriptionLoss, DeletingOnAFrozenServerTakesAtMostTwoTimeouts) {
    ServerProcess server;
    Follower follower(server.url(), requestTimeout);
    const long id = followSpeed(follower);
    server.freeze();
    Result deleted;
    EXPECT_LT(
        timeOf([&] { deleted = follower.host.call("zfDeleteSubscription", follower.client, id); }),
        milliseconds(2 * requestTimeout) + margin);
    EXPECT_NE(deleted.text().find("[BadTimeout]"), std::string::npos) << deleted.text();
    EXPECT_EQ(follower.poll(id).text(), applicationError(9, "Subscription not found (handle=1)"));
    server.thaw();
    ASSERT_TRUE(waitUntil([&] { return follower.follow({speed}) != 0; }));
}

/// Monitored items that a server in this process has now.
std::atomic<int> monitoredItems = 0;

/// A server whose subscriptions end before long when nobody polls, and what it sends.
class ForgetfulServer {
  public:
    ForgetfulServer() {
        monitoredItems = 0;
        server.run([](plant::PlantServer& plant) {
            UA_Server_getConfig(plant.server())->monitoredItemRegisterCallback =
                [](UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void*, UA_UInt32,
                   UA_Boolean removed) { monitoredItems += removed ? -1 : 1; };
        });
        relay.onReply = [this](std::string_view bytes) {
            for (std::size_t at = 0; (at = bytes.find("MSGF", at)) != bytes.npos; ++at) {
                ++answers;
            }
        };
    }
    /// A subscription that ends once the publish requests sent ahead are used up, after about 0.8
    /// s.
    static long follow(Follower& follower) {
        return follower.follow({speed},
                               {.publishingInterval = 20, .lifetimeCount = 9, .keepAliveCount = 3});
    }
    static bool awaitItems(int count) {
        return waitUntil([&] { return monitoredItems == count; });
    }

    TestServer server;
    FaultProxy relay{server.port()};
    std::atomic<int> answers = 0;
};

TEST_F(SubscriptionLoss, ASubscriptionThatExpiredUnpolledIsToldWithoutAFloodOfRequests) {
    for (const int timeout : {0, 10, 1000, 65535}) {
        ForgetfulServer server;
        Follower follower(server.relay.url(), requestTimeout);
        const long id = ForgetfulServer::follow(follower);
        ASSERT_TRUE(ForgetfulServer::awaitItems(0));
        const int before = server.answers;
        std::string text;
        const milliseconds told = timeOf([&] {
            EXPECT_TRUE(waitUntil([&] {
                text = follower.poll(id, timeout).text();
                return text == serverDeleted;
            })) << text;
        });
        EXPECT_LT(told, milliseconds(1000) + margin);
        EXPECT_LT(server.answers - before, 120) << timeout;
        EXPECT_EQ(follower.poll(id).text(), resetRequired);
        const std::string deleted =
            follower.host.call("zfDeleteSubscription", follower.client, id).text();
        EXPECT_NE(deleted.find("[BadSubscriptionIdInvalid]"), std::string::npos) << deleted;
    }
}

TEST_F(SubscriptionLoss, ASignalOfTheHostEndsTheWait) {
    TestServer server;
    Follower follower(server.url());
    const long id = followSpeed(follower);
    const auto previous = std::signal(SIGALRM, [](int) {});
    // Again and again: one that comes while a keep-alive is being read goes by.
    const itimerval soon{{0, 50000}, {0, 300000}};
    const itimerval never{};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    const milliseconds took = timeOf([&] { EXPECT_EQ(follower.poll(id, 3000).text(), noLines); });
    setitimer(ITIMER_REAL, &never, nullptr);
    std::signal(SIGALRM, previous);
    EXPECT_GE(took, milliseconds(250)) << "keep-alives do not end it";
    EXPECT_LT(took, milliseconds(300) + margin);
}

TEST_F(SubscriptionLoss, ALivingSubscriptionIsServedBesideADeadOne) {
    ForgetfulServer server;
    Follower follower(server.relay.url(), requestTimeout);
    const long dead = ForgetfulServer::follow(follower);
    const long alive = follower.follow({plant::tank1Level}, {.publishingInterval = 20});
    ASSERT_TRUE(ForgetfulServer::awaitItems(1));
    for (int value = 1; value < 50; ++value) {
        server.server.setValue(plant::tank1Level, plant::scalar(value * 1.0, UA_TYPES_DOUBLE));
        EXPECT_TRUE(pollUntil(follower, alive, [&](const std::string& text) {
            return text.find(", 0, f:" + std::to_string(value) + "]") != std::string::npos;
        }));
    }
    // A poll that still has the first value to give asks for the reset only with the next one.
    EXPECT_TRUE(pollUntil(follower, dead, [](const std::string& text) {
        const bool told = text == serverDeleted || text == resetRequired;
        EXPECT_TRUE(told || text.starts_with("0, ")) << text;
        return told;
    }));
}

}  // namespace
}  // namespace nimb::test
