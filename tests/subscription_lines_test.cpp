// Creation, polls and deletion as a host sees them, against a server whose values the test changes.

#include <gtest/gtest.h>

#include "failures.h"
#include "following.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

constexpr plant::NodeAddress level = plant::tank1Level;  // Double 42.5
constexpr plant::NodeAddress speed = plant::pump1Speed;  // Int32 1450
constexpr plant::NodeAddress guid = plant::scalarOf(plant::type::guid);
constexpr plant::NodeAddress unknown = plant::stringNode("no such node");
class SubscriptionLines : public testing::Test {
  protected:
    void setLevel(double value) { server.setValue(level, plant::scalar(value, UA_TYPES_DOUBLE)); }
    void setSpeed(std::int32_t value) {
        server.setValue(speed, plant::scalar(value, UA_TYPES_INT32));
    }

    TestServer server;
    Follower follower{server.url()};
};

TEST_F(SubscriptionLines, CreationReturnsTheRevisedParameters) {
    EXPECT_EQ(follower.create(specification({level, speed}), {}).text(),
              "0, 1, 5, 10000, 100, 0, 0, 100");
    Parameters wild;
    wild.publishingInterval = 0.25;
    wild.lifetimeCount = 1;
    wild.keepAliveCount = 7;
    wild.maxNotifications = 9;
    wild.samplingInterval = 1.5;
    wild.itemQueueSize = 200000;
    EXPECT_EQ(follower.create(specification({level, speed}), wild).text(),
              "0, 2, 5, 21, 7, 9, 5, 100000");
}

TEST_F(SubscriptionLines, EveryLineShowsAllItemsAndEachItemsChangesInOrder) {
    server.setValue(level, plant::scalar(40.5, UA_TYPES_DOUBLE), plant::fixedTime);
    const long id = follower.follow({level, speed});
    ASSERT_TRUE(follower.await(id, 2));
    const Result first = follower.poll(id);
    const VeltoROList line = first.sublist(2).at(0).AsVeltoROList();
    EXPECT_EQ(line.at(0).AsAString(), "");
    const VeltoROList item = line.at(1).AsVeltoROList();
    EXPECT_EQ(item.at(0).AsAString(), "2000-01-01 12:00:00.1234567");
    EXPECT_EQ(describe(item).substr(describe(item).rfind('"') + 1), ", 0, f:40.5");
    EXPECT_EQ(linesText(first.sublist(2)), "[40.5 | 1450]");
    setLevel(1);
    setSpeed(10);
    setLevel(2);
    setLevel(3);
    ASSERT_TRUE(follower.await(id, 4));
    EXPECT_EQ(follower.lines(id), "[1 | 10] [2 | 10] [3 | 10]");
    EXPECT_EQ(follower.poll(id).text(), "0, 0, \"\", [0, 0, 0, 0, 0, 0, 0]");
}

TEST_F(SubscriptionLines, AnItemWithoutAShowableValueIsWrittenFromZero) {
    const long id = follower.follow({level, guid, plant::badWithoutValue, plant::badWithValue});
    ASSERT_TRUE(follower.await(id, 4));
    const Result polled = follower.poll(id);
    EXPECT_EQ(linesText(polled.sublist(2)), "[42.5 | none | 2157641728 none | 2156658688 13]");
    EXPECT_EQ(describe(polled.sublist(2).at(0).AsVeltoROList().at(2).AsVeltoROList()),
              "u\"1601-01-01 00:00:00.0000000\", u\"1601-01-01 00:00:00.0000000\", 0, null");
}

TEST_F(SubscriptionLines, ChangesArriveWithinOtherCallsToo) {
    const long id = follower.follow({level});
    ASSERT_TRUE(follower.await(id, 1));
    EXPECT_EQ(follower.lines(id), "[42.5]");
    double value = 0;
    EXPECT_TRUE(waitUntil([&] {
        setLevel(++value);
        for (int reads = 0; reads < 10; ++reads) {
            follower.host.call("zfReadAttribute", follower.client, "Pump1.State", 2, 3, 13);
        }
        return follower.statistic(follower.poll(id), before) > 0;
    }));
}

TEST_F(SubscriptionLines, AResultTooLongForTheHostIsNotWrittenAndItsLinesAreGone) {
    const long id = follower.follow({plant::longString});
    ASSERT_TRUE(follower.await(id, 1));
    EXPECT_FALSE(follower.poll(id).written());
    EXPECT_EQ(follower.lines(id), "");
}

TEST_F(SubscriptionLines, ADeletedOrUnknownHandleIsNotFound) {
    const long id = follower.follow({level});
    follower.follow({speed});
    EXPECT_EQ(follower.poll(99).text(), applicationError(9, "Subscription not found (handle=99)"));
    const auto deleted = [&](long handle) {
        return follower.host.call("zfDeleteSubscription", follower.client, handle).text();
    };
    EXPECT_EQ(deleted(99), applicationError(9,
                                            "Subscription not found : handle = 99, "
                                            "subscription count = 2"));
    EXPECT_EQ(deleted(id), "0");
    EXPECT_EQ(deleted(id), applicationError(9,
                                            "Subscription not found : handle = 1, "
                                            "subscription count = 1"));
}

/// What ends a subscription for good, and with it the client's present set-up.
struct Ending {
    const char* name;
    void (*end)(TestServer&, Follower&, long subscription);
    bool connected;  ///< afterwards
};

class SubscriptionReset : public testing::TestWithParam<Ending> {};

TEST_P(SubscriptionReset, EveryCallAsksForItUntilASetUpSucceeds) {
    TestServer server;
    Follower follower(server.url());
    Host& host = follower.host;
    const long id = follower.follow({level});
    ASSERT_TRUE(follower.await(id, 1));
    GetParam().end(server, follower, id);

    EXPECT_EQ(follower.poll(id).text(), resetRequired);
    EXPECT_EQ(follower.create(specification({level})).text(), resetRequired);
    EXPECT_EQ(host.call("zfReadAttribute", follower.client, "Tank1.Level", 2, 3, 13).text(),
              resetRequired);
    const Result state = host.call("zfGetClientStateD", follower.client);
    EXPECT_EQ(state[2].AsLong(), GetParam().connected ? 1 : 0);
    EXPECT_EQ(state[5].AsLong(), 1);
    EXPECT_EQ(follower.poll(77, 0, 0, 1).text(), resetDue(" [ps]"));
    EXPECT_EQ(host.call("zfConnectB", follower.client, server.url()).text(), resetDue(" [c]"));
    EXPECT_EQ(
        host.call("zfConnectUser", follower.client, server.url(), "operator", "plant-7").text(),
        resetDue(""));

    ASSERT_TRUE(host.call("zfSetupClientC", follower.client, 5000, 1, "", "", "", "", "", 0).ok());
    EXPECT_EQ(host.call("zfGetClientStateD", follower.client)[5].AsLong(), 0);
    ASSERT_TRUE(host.call("zfConnectB", follower.client, server.url()).ok());
    EXPECT_EQ(follower.poll(id).text(), applicationError(9, "Subscription not found (handle=1)"));
    const long next = follower.follow({level});
    ASSERT_TRUE(follower.await(next, 1));
    EXPECT_EQ(follower.lines(next), "[42.5]");
}

INSTANTIATE_TEST_SUITE_P(
    Endings, SubscriptionReset,
    testing::Values(Ending{"HostDeletion",
                           [](TestServer&, Follower& f, long id) {
                               EXPECT_TRUE(f.host.call("zfDeleteSubscription", f.client, id).ok());
                           },
                           true},
                    Ending{"CheckedPollOfAnUnknownHandle",
                           [](TestServer&, Follower& f, long) {
                               EXPECT_EQ(f.poll(99, 0, 0, 1).text(), resetDue(" [ps]"));
                           },
                           true},
                    Ending{"Disconnect",
                           [](TestServer&, Follower& f, long) {
                               EXPECT_TRUE(f.host.call("zfDisconnectB", f.client).ok());
                           },
                           false},
                    Ending{"SecondConnect",
                           [](TestServer& s, Follower& f, long) {
                               EXPECT_EQ(f.host.call("zfConnectB", f.client, s.url()).text(),
                                         resetDue(" [c]"));
                           },
                           false}),
    [](const auto& ending) { return std::string(ending.param.name); });

}  // namespace
}  // namespace nimb::test
