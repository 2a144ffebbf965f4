// Creation, polls and deletion as a host sees them, against a server whose values the test changes.

#include <gtest/gtest.h>

#include "following.h"
#include "support/test_server.h"

namespace nimb::test {
namespace {

constexpr plant::NodeAddress level = plant::tank1Level;  // Double 42.5
constexpr plant::NodeAddress speed = plant::pump1Speed;  // Int32 1450
constexpr plant::NodeAddress guid = plant::scalarOf(plant::type::guid);
constexpr plant::NodeAddress unknown = plant::stringNode("no such node");
constexpr const char* noSuchNode =
    "OPC UA Error 0x80340000  [BadNodeIdUnknown] The node id refers to a node that does not exist "
    "in the server address space. : Error in requesting monitoring ";

std::string applicationError(const std::string& text) {
    return failure(2, 9, "Application Error [9] : Other error : " + text);
}

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
    EXPECT_EQ(textOf(item).substr(textOf(item).rfind('"') + 1), ", 0, f40.5");
    EXPECT_EQ(linesText(first.sublist(2)), "[40.5 | 1450]");
    setLevel(1);
    setSpeed(10);
    setLevel(2);
    setLevel(3);
    ASSERT_TRUE(follower.await(id, 4));
    EXPECT_EQ(follower.lines(id), "[1 | 10] [2 | 10] [3 | 10]");
    EXPECT_EQ(follower.poll(id).text(), "0, 0, \"\", [0, 0, 0, 0, 0, 0, 0]");
}

TEST_F(SubscriptionLines, MaxLinesLeavesTheRestInTheQueueAndTheStatisticsTellIt) {
    Parameters p;
    p.maxQueueSize = 3;
    const long id = follower.follow({level}, p);
    ASSERT_TRUE(follower.await(id, 1));
    setLevel(1);
    setLevel(2);
    setLevel(3);
    ASSERT_TRUE(follower.await(id, 4));
    const Result polled = follower.poll(id, 0, 1);
    EXPECT_EQ(polled[1].AsLong(), 1);
    EXPECT_EQ(linesText(polled.sublist(2)), "[42.5]");
    EXPECT_EQ(textOf(polled.sublist(3)), "3, 3, 1, 3, 1, 2, 1");
    EXPECT_EQ(follower.lines(id), "[1] [2]") << "the newest change was dropped";
    setLevel(4);
    ASSERT_TRUE(follower.await(id, 2));
    EXPECT_EQ(follower.lines(id), "[4]");
}

TEST_F(SubscriptionLines, AnItemWithoutAShowableValueIsWrittenFromZero) {
    const long id = follower.follow({level, guid, plant::badWithoutValue, plant::badWithValue});
    ASSERT_TRUE(follower.await(id, 4));
    const Result polled = follower.poll(id);
    EXPECT_EQ(linesText(polled.sublist(2)), "[42.5 | none | 2157641728 none | 2156658688 13]");
    EXPECT_EQ(textOf(polled.sublist(2).at(0).AsVeltoROList().at(2).AsVeltoROList()),
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

TEST_F(SubscriptionLines, OnePollServesAllSubscriptionsOfTheClient) {
    const long first = follower.follow({level});
    const long second = follower.follow({speed});
    ASSERT_TRUE(follower.await(second, 1));
    ASSERT_TRUE(follower.await(first, 1));
    setLevel(7);
    setSpeed(8);
    ASSERT_TRUE(waitUntil([&] {
        follower.poll(second, 20, -1);
        return follower.statistic(follower.poll(first, 0, -1), before) == 2;
    }));
    EXPECT_EQ(follower.lines(first), "[42.5] [7]");
    ASSERT_TRUE(follower.await(second, 2));
    EXPECT_EQ(follower.lines(second), "[1450] [8]");
}

TEST_F(SubscriptionLines, AResultTooLongForTheHostIsNotWrittenAndItsLinesAreGone) {
    const long id = follower.follow({plant::longString});
    ASSERT_TRUE(follower.await(id, 1));
    EXPECT_FALSE(follower.poll(id).written());
    EXPECT_EQ(follower.lines(id), "");
}

TEST_F(SubscriptionLines, ARefusedItemFailsTheCallButTheSubscriptionStays) {
    EXPECT_EQ(follower.create(specification({level, unknown, speed})).text(),
              failure(4, UA_STATUSCODE_BADNODEIDUNKNOWN,
                      std::string(noSuchNode) + "(idx=1) : 1 total errors in 3 requests"));
    ASSERT_TRUE(follower.await(1, 2));
    EXPECT_EQ(follower.lines(1), "[42.5 | none | 1450]");
    // The server gives every refused item the id 0.
    EXPECT_EQ(follower.create(specification({unknown, level, unknown, speed})).text(),
              failure(2, 10,
                      "Application Error [10] : Undefined error : Probable error in DataSource "
                      "class/specification [s.amios:0,3,2,4,4,1,0]"));
    ASSERT_TRUE(follower.await(2, 2));
    EXPECT_EQ(follower.lines(2), "[none | 42.5]") << "nothing behind the second one is followed";
}

TEST_F(SubscriptionLines, NothingIsCreatedForAnEmptyNodeListOrBadArguments) {
    EXPECT_EQ(follower.create(specification({})).text(),
              failure(5, 9, "Unknown Error : Empty node list, there is nothing to follow"));
    EXPECT_EQ(follower.create(listOf(1, 2, 3)).text(),
              failure(2, 10,
                      "Application Error [10] : Undefined error : Malformed specification. Unable "
                      "to access Specification as an NIMB list"));
    const VeltoList nodes = specification({level});
    Host& host = follower.host;
    EXPECT_EQ(host.call("zfCreateSubscriptionB", follower.client, nodes, 5, 1, 1, 0, 0, 1).text(),
              failure(7, 10, "Unknown Error : [B16]"));
    EXPECT_EQ(host.call("zfPollSubscription", follower.client, 1, 0, 0).text(),
              failure(7, 10, "Unknown Error : [B17]"));
    EXPECT_EQ(host.call("zfDeleteSubscription", follower.client).text(),
              failure(7, 10, "Unknown Error : [B18]"));
    EXPECT_EQ(follower.follow({level}), 1) << "the server's first subscription";
}

TEST_F(SubscriptionLines, AClientWithoutAConnectionIsToldSo) {
    Host& host = follower.host;
    const long bare = host.call("zfCreateClientB")[1].AsLong();
    const VeltoList nodes = specification({level});
    const std::string uninitialized =
        failure(2, 7, "Application Error [7] : Client found but uninitialized");
    EXPECT_EQ(host.call("zfPollSubscription", bare, 1, 0, 0, 0).text(), uninitialized);
    EXPECT_EQ(host.call("zfDeleteSubscription", bare, 1).text(), uninitialized);
    EXPECT_EQ(host.call("zfCreateSubscriptionB", bare, nodes, 5, 1, 1, 0, 0, 1, 0).text(),
              failure(5, 10, "Unknown Error : Null client"));
    host.call("zfDisconnectB", follower.client);
    EXPECT_EQ(follower.create(nodes).text().substr(0, 17), "1, 4, 2158886912,") << "closed";
    EXPECT_EQ(server.sessionCount(), 0U);
}

TEST_F(SubscriptionLines, ADeletedOrUnknownHandleIsNotFound) {
    const long id = follower.follow({level});
    follower.follow({speed});
    EXPECT_EQ(follower.poll(99).text(), applicationError("Subscription not found (handle=99)"));
    const auto deleted = [&](long handle) {
        return follower.host.call("zfDeleteSubscription", follower.client, handle).text();
    };
    EXPECT_EQ(deleted(99), applicationError("Subscription not found : handle = 99, "
                                            "subscription count = 2"));
    EXPECT_EQ(deleted(id), "0");
    EXPECT_EQ(deleted(id), applicationError("Subscription not found : handle = 1, "
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

    const std::string reset = applicationError("Client reset required");
    EXPECT_EQ(follower.poll(id).text(), reset);
    EXPECT_EQ(follower.create(specification({level})).text(), reset);
    EXPECT_EQ(host.call("zfReadAttribute", follower.client, "Tank1.Level", 2, 3, 13).text(), reset);
    const Result state = host.call("zfGetClientStateD", follower.client);
    EXPECT_EQ(state[2].AsLong(), GetParam().connected ? 1 : 0);
    EXPECT_EQ(state[5].AsLong(), 1);
    EXPECT_EQ(follower.poll(77, 0, 0, 1).text(),
              failure(1, 9, "Info / No Error : Client reset required [ps]"));
    EXPECT_EQ(host.call("zfConnectB", follower.client, server.url()).text(),
              failure(1, 9, "Info / No Error : Client reset required [c]"));
    EXPECT_EQ(
        host.call("zfConnectUser", follower.client, server.url(), "operator", "plant-7").text(),
        failure(1, 9, "Info / No Error : Client reset required"));

    ASSERT_TRUE(host.call("zfSetupClientC", follower.client, 5000, 1, "", "", "", "", "", 0).ok());
    EXPECT_EQ(host.call("zfGetClientStateD", follower.client)[5].AsLong(), 0);
    ASSERT_TRUE(host.call("zfConnectB", follower.client, server.url()).ok());
    EXPECT_EQ(follower.poll(id).text(), applicationError("Subscription not found (handle=1)"));
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
                               EXPECT_EQ(
                                   f.poll(99, 0, 0, 1).text(),
                                   failure(1, 9, "Info / No Error : Client reset required [ps]"));
                           },
                           true},
                    Ending{"Disconnect",
                           [](TestServer&, Follower& f, long) {
                               EXPECT_TRUE(f.host.call("zfDisconnectB", f.client).ok());
                           },
                           false},
                    Ending{"SecondConnect",
                           [](TestServer& s, Follower& f, long) {
                               EXPECT_EQ(
                                   f.host.call("zfConnectB", f.client, s.url()).text(),
                                   failure(1, 9, "Info / No Error : Client reset required [c]"));
                           },
                           false}),
    [](const auto& ending) { return std::string(ending.param.name); });

}  // namespace
}  // namespace nimb::test
