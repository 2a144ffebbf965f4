// Subscriptions against a stack that the test plays itself: what no real server can be brought to
// do at a moment of the test's choosing. Ownership is proven by the sanitizers' builds.

#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <new>
#include <set>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/publish_pace.h"
#include "failing_allocation.h"
#include "fake_stack.h"
#include "output_lines.h"
#include "subscription/stack_callbacks.h"
#include "subscription/subscription.h"

namespace nimb::test {
namespace {

constexpr UA_StatusCode bad = UA_STATUSCODE_BADNODEIDUNKNOWN;

std::string textOf(const UACErr& error) {
    return std::to_string(error.kind) + ", " + std::to_string(error.code) + ", " + error.text;
}

UA_MonitoredItemCreateResult itemResult(std::uint32_t id, UA_StatusCode status = 0,
                                        double sampling = 0, std::uint32_t queueSize = 0) {
    UA_MonitoredItemCreateResult result{};
    result.monitoredItemId = id;
    result.statusCode = status;
    result.revisedSamplingInterval = sampling;
    result.revisedQueueSize = queueSize;
    return result;
}

class SubscriptionUnit : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(client.setup(1000).isError());
        ASSERT_FALSE(client.connect("opc.tcp://the-test").isError());
    }

    UACErr create(std::size_t nodes, int maxQueueSize = 0) {
        request.maxQueueSize = maxQueueSize;
        unsigned int id = 0;
        return client.createSubscription(&id, NodeIdArray(nodes), request);
    }
    Subscription* subscription() { return client.getSubscription(stack.subscriptionId); }
    MonitoredItem& item(std::uint32_t id) { return *subscription()->itemById(id); }
    /// The lines of one poll, or its error.
    std::string poll(int maxLines = 0) {
        VeltoList out;
        const UACErr error = client.pollSubscription(&out, stack.subscriptionId, 0, maxLines);
        return error.isError() ? textOf(error) : linesText(out.at(1).AsVeltoROList());
    }

    FakeStack stack;
    OpcuaClient client;
    SubscriptionRequest request;
};

TEST_F(SubscriptionUnit, ChangesThatArriveBeforeTheItemsAreKnownAreNotLost) {
    stack.duringItems = [this] {
        stack.change(101, "a");
        stack.change(999, "of nobody");
        stack.itemDeleted(0);
        stack.change(102, "b");
    };
    ASSERT_FALSE(create(2).isError());
    EXPECT_EQ(subscription()->getQueueSize(), 3U);
    EXPECT_EQ(poll(), "[a | b]");
}

TEST_F(SubscriptionUnit, ALineTakesInEachItemOnceAndSkipsWhatCannotBeShown) {
    ASSERT_FALSE(create(3).isError());
    stack.change(101, "a1");
    stack.change(102, "b1");
    stack.change(101, "a2");
    stack.change(999, "of nobody");
    stack.change(102, guidValue(), 50);
    EXPECT_EQ(textOf(item(102).error()), "2, 6, UA_Guid");
    stack.change(102, "b2");
    EXPECT_EQ(item(102).error().kind, UACERR_NONE);
    EXPECT_EQ(poll(), "[a1 | b1 | none] [a2 | b2 | none]");
    stack.change(103, guidValue(), 60);
    EXPECT_EQ(poll(), "[a2 | b2 | none]") << "a line of nothing but errors repeats the values";
    EXPECT_EQ(poll(), "");
}

TEST_F(SubscriptionUnit, ASecondChangeOfAnItemEndsTheLineAlsoWhenItCannotBeShown) {
    ASSERT_FALSE(create(2).isError());
    stack.change(101, "a");
    stack.change(101, guidValue(), 50);
    stack.change(102, "b");
    EXPECT_EQ(poll(), "[a | none] [a | b]");
}

TEST_F(SubscriptionUnit, ManyQueuedChangesComeInTheirOrder) {
    ASSERT_FALSE(create(2).isError());
    const std::string filler(300, '.');
    std::string expected;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = filler + std::to_string(i);
        stack.change(101, text);
        expected += (i == 0 ? "[" : " [") + text + " | none]";
    }
    std::string lines = poll(700);
    lines += " " + poll(1);
    stack.change(102, "b");
    EXPECT_TRUE(lines + " " + poll() == expected.substr(0, expected.size() - 5) + "b]");
    stack.change(102, "c");
    EXPECT_EQ(poll(), "[" + filler + "1999 | c]");
}

TEST_F(SubscriptionUnit, ABigPollLeavesNoMemoryBehind) {
    const auto used = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    ASSERT_FALSE(create(50).isError());
    stack.change(101, "a");
    poll();
    const std::size_t before = used();
    for (int i = 0; i < 500; ++i) {
        stack.change(101, "b");
    }
    EXPECT_LT(used() - before, 500U * 200);
    VeltoList out;
    EXPECT_FALSE(client.pollSubscription(&out, stack.subscriptionId, 0, 0).isError());
    EXPECT_EQ(out.at(0).AsLong(), 500);
    out.clear();
    EXPECT_LT(used(), before + 200000);
}

TEST_F(SubscriptionUnit, ALineEndsAfterItsMostNotifications) {
    ASSERT_FALSE(create(1).isError());
    for (int i = 0; i < 9999; ++i) {
        stack.change(999, "of nobody");
    }
    stack.change(101, "a");
    EXPECT_EQ(poll(), "[none] [a]");
}

TEST_F(SubscriptionUnit, AValueWithBothTimesOfTheLastOneIsTakenForARepetition) {
    const struct {
        UA_DateTime source, server;
        const char* lines;
    } cases[] = {{10, 20, "[a] [a]"}, {11, 20, "[a] [b]"}, {10, 21, "[a] [b]"}};
    for (const auto& c : cases) {
        ASSERT_FALSE(create(1).isError());
        stack.change(101, textValue("a"), 10, 20);
        stack.change(101, textValue("b"), c.source, c.server);
        EXPECT_EQ(poll(), c.lines);
        ++stack.subscriptionId;
    }
    ASSERT_FALSE(create(1).isError());
    stack.change(101, textValue("without times"), 0, 0);
    EXPECT_EQ(poll(), "[none]");
}

TEST_F(SubscriptionUnit, AFullQueueKeepsTheOldestAndCountsTheRest) {
    const struct {
        int bound;
        std::uint32_t lost, ofTheItem, ofNobody;
        const char* lines;
    } cases[] = {
        {2, 2, 1, 1, "[a] [b]"}, {0, 0, 0, 0, "[a] [b] [c]"}, {-1, 0, 0, 0, "[a] [b] [c]"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bound);
        ASSERT_FALSE(create(1, c.bound).isError());
        for (const char* text : {"a", "b", "c"}) {
            stack.change(101, text);
        }
        stack.change(999, "of nobody");
        EXPECT_EQ(subscription()->getQueueLossCount(), c.lost);
        EXPECT_EQ(item(101).lossCount, c.ofTheItem);
        EXPECT_EQ(subscription()->getUnknownItemLossCount(), c.ofNobody);
        EXPECT_EQ(poll(), c.lines);
        ++stack.subscriptionId;
    }
}

TEST_F(SubscriptionUnit, ABadStatusIsToldWhenThereIsNoLineAndPassesWithAGoodOne) {
    constexpr const char* error = "6, 9, Non-active subscription status (SERVER ERROR)";
    ASSERT_FALSE(create(1).isError());
    stack.change(101, "a");
    stack.statusChange(UA_STATUSCODE_BADTIMEOUT);
    EXPECT_EQ(poll(), "[a]");
    EXPECT_EQ(poll(), error);
    VeltoList out;
    EXPECT_TRUE(client.pollSubscription(&out, stack.subscriptionId, 0, 0).isError());
    EXPECT_EQ(out.size(), 3U) << "the results stand beside the error";
    stack.statusChange(UA_STATUSCODE_GOOD);
    EXPECT_EQ(poll(), "");
    EXPECT_FALSE(client.resetRequired());
}

TEST_F(SubscriptionUnit, ADeletionByTheServerLeavesTheLinesOfThatPollAndThenNeedsAReset) {
    ASSERT_FALSE(create(1).isError());
    stack.duringIterate = [this] {
        stack.change(101, "a");
        stack.itemDeleted(101);
        stack.deleted();
        stack.statusChange(UA_STATUSCODE_GOOD);
    };
    EXPECT_EQ(poll(), "[a]");
    EXPECT_TRUE(item(101).inactive);
    EXPECT_EQ(poll(), "2, 9, Client reset required");
    client.setResetRequired(false);
    EXPECT_EQ(poll(), "6, 9, Non-active subscription status (SERVER DELETED)");
    EXPECT_FALSE(client.deleteSubscription(stack.subscriptionId).isError());
    EXPECT_EQ(stack.deleteRequests, 1) << "none by the destructor";
}

TEST_F(SubscriptionUnit, NamesEveryStatus) {
    const char* const names[] = {"UNINITIALIZED", "ACTIVE",         "DEACTIVATED",
                                 "SERVER ERROR",  "SERVER DELETED", "UNKNOWN"};
    for (int i = 0; i < 6; ++i) {
        const auto status = static_cast<Subscription::UAC_SUBSCRIPTION_STATUS>(i);
        EXPECT_EQ(Subscription::getStatusString(status), names[i]);
    }
}

TEST_F(SubscriptionUnit, TheHostsDeletionIsSentOnceWhenTheStackReportsIt) {
    ASSERT_FALSE(create(1, 1).isError());
    stack.change(101, "fills the queue");
    stack.duringDelete = [this] { stack.deleted(); };
    EXPECT_FALSE(client.deleteSubscription(stack.subscriptionId).isError());
    EXPECT_EQ(stack.deleteRequests, 1);
    EXPECT_TRUE(client.resetRequired());
    EXPECT_EQ(textOf(client.deleteSubscription(7)),
              "2, 9, Subscription not found : handle = 7, subscription count = 0");
}

TEST_F(SubscriptionUnit, AFailedDeletionIsTriedAgainAndForgetsTheSubscription) {
    ASSERT_FALSE(create(1).isError());
    stack.deleteResult = UA_STATUSCODE_BADTIMEOUT;
    stack.duringDelete = [this] {
        stack.change(101, "last words");
        stack.duringDelete = [this] { stack.change(101, "after the end"), stack.deleted(); };
    };
    EXPECT_EQ(textOf(client.deleteSubscription(stack.subscriptionId)),
              "4, 2148139008, Error encountered during subscription deletion attempt (sub_id=7)");
    EXPECT_EQ(stack.deleteRequests, 2);
    EXPECT_FALSE(client.resetRequired());
    EXPECT_EQ(poll(), "2, 9, Subscription not found (handle=7)");
}

TEST_F(SubscriptionUnit, DestroyingTheClientSendsNothingForItsSubscriptions) {
    ASSERT_FALSE(create(1, 1).isError());
    stack.change(101, "fills the queue");
    EXPECT_FALSE(client.destroy().isError());
    EXPECT_EQ(stack.deleteRequests, 0);
    stack.change(101, "too late");
}

TEST_F(SubscriptionUnit, AnIdInUseIsRefusedAndOneOfADeadSubscriptionIsTakenOver) {
    ASSERT_FALSE(create(1).isError());
    EXPECT_EQ(textOf(create(1)), "7, 10, Duplicate subscription handle error");
    stack.change(101, "a");
    EXPECT_EQ(poll(), "[a]") << "the first one lives on";
    stack.deleted();
    client.setResetRequired(false);
    EXPECT_FALSE(create(2).isError());
    EXPECT_EQ(poll(), "");
    EXPECT_EQ(stack.deleteRequests, 0);
}

TEST_F(SubscriptionUnit, RefusedItemsAndOddResponsesKeepTheSubscription) {
    const struct {
        std::vector<UA_MonitoredItemCreateResult> results;
        std::size_t nodes;
        const char* error;
        std::uint32_t changed;  ///< an item that changes afterwards
        const char* lines;
    } cases[] = {
        {{itemResult(101), itemResult(0, bad), itemResult(103)},
         3,
         "4, 2150891520, Error in requesting monitoring (idx=1) : 1 total errors in 3 requests",
         103,
         "[none | none | a]"},
        // Both refused items have the id 0; what comes behind the second one is not followed.
        {{itemResult(101), itemResult(0, bad), itemResult(0, bad), itemResult(104)},
         4,
         "2, 10, Probable error in DataSource class/specification [s.amios:0,3,2,4,4,1,0]",
         104,
         "[none | none]"},
        {{itemResult(101), itemResult(101)},
         2,
         "2, 10, Probable error in DataSource class/specification [s.amios:101,2,1,2,2,1,0]",
         101,
         "[a]"},
        {{itemResult(101)}, 2, "5, 10, Unexpected server response length (1,2)", 101, "[a]"},
        {{itemResult(101), itemResult(102), itemResult(103)},
         2,
         "5, 10, Unexpected server response length (3,2)",
         103,
         "[none | none | a]"},
    };
    for (const auto& c : cases) {
        stack.itemResults = c.results;
        EXPECT_EQ(textOf(create(c.nodes)), c.error);
        stack.change(c.changed, "a");
        EXPECT_EQ(poll(), c.lines);
        ++stack.subscriptionId;
    }
    stack.answersItems = false;
    EXPECT_EQ(textOf(create(2)), "5, 10, Unexpected server response length (0,2)");
    EXPECT_EQ(poll(), "");
}

TEST_F(SubscriptionUnit, ARefusedItemRemembersWhy) {
    stack.itemResults = {itemResult(101), itemResult(0, bad)};
    EXPECT_TRUE(create(2).isError());
    EXPECT_FALSE(item(101).inactive);
    EXPECT_TRUE(item(0).inactive);
    EXPECT_EQ(item(0).lastStatus, bad);
    EXPECT_EQ(textOf(item(0).error()), "4, 2150891520, ");
}

TEST_F(SubscriptionUnit, RevisesToTheSlowestSamplingAndTheSmallestQueue) {
    stack.itemResults = {itemResult(101, 0, 250, 9), itemResult(102, 0, 500, 4),
                         itemResult(103, 0, 100, 0x80000000)};
    ASSERT_FALSE(create(3).isError());
    EXPECT_EQ(request.samplingInterval, 500);
    EXPECT_EQ(request.itemQueueSize, 4U);
}

TEST_F(SubscriptionUnit, NeitherSubscriptionNorItemsAreCreatedTwice) {
    ASSERT_FALSE(create(2).isError());
    EXPECT_EQ(textOf(subscription()->createSubscriptionOnServer(request)),
              "2, 9, Initialization attempted on already initialized subscription");
    EXPECT_EQ(textOf(subscription()->addMonitoredItemsOnServer(NodeIdArray(1), request)),
              "5, 9, Index 1 already in use");
    OpcuaClient bare;
    Subscription homeless(&bare, 0);
    EXPECT_EQ(textOf(homeless.createSubscriptionOnServer(request)), "5, 10, Null client");
    EXPECT_EQ(textOf(homeless.addMonitoredItemsOnServer(NodeIdArray(1), request)),
              "5, 10, Null client");
    EXPECT_EQ(textOf(homeless.deleteOnServer()),
              "5, 9, Attempt to delete subscription on server using a null client");
}

TEST_F(SubscriptionUnit, ACreationSurvivesTheFailureOfAnyAllocation) {
    std::set<std::string> errors;
    bool failed = true;
    for (long n = 0; failed; ++n, ++stack.subscriptionId) {
        stack.duringItems = [this] { stack.change(101, "early"); };
        allocationsUntilFailure = n;
        UACErr error;
        try {
            error = create(2);
        } catch (const std::bad_alloc&) {
            // The call frame answers with the handler's tag.
        }
        failed = allocationsUntilFailure < 0;
        allocationsUntilFailure = -1;
        errors.insert(textOf(error));
        if (subscription() != nullptr && !stack.duringItems) {
            stack.change(101, "late");
            EXPECT_NE(poll(), "");
        }
    }
    const std::set<std::string> expected{
        "0, 0, ", "5, 10, Unexpected bad item index record consistency error (101,1)",
        "5, 10, Unexpected bad item index record consistency error (102,2)",
        "7, 10, Unknown error adding monitoring items"};
    EXPECT_EQ(errors, expected);
}

TEST_F(SubscriptionUnit, ReportsWithoutASubscriptionAreIgnored) {
    ASSERT_FALSE(create(1).isError());
    UA_StatusChangeNotification badStatus{};
    badStatus.status = bad;
    OwnedDataValue value;
    for (void* context : {static_cast<void*>(nullptr), static_cast<void*>(&client)}) {
        const UA_UInt32 id = context == nullptr ? stack.subscriptionId : 99;
        UAC_StatusChangeNotificationCallback(nullptr, id, context, &badStatus);
        UAC_DataChangeNotificationCallback(nullptr, id, context, 101, context, value.get());
        UAC_DeleteMonitoredItemCallback(nullptr, id, context, 101, context);
        UAC_DeleteSubscriptionCallback(nullptr, id, context);
        UAC_SubscriptionInactivityCallback(nullptr, id, context);
    }
    UAC_StatusChangeNotificationCallback(nullptr, stack.subscriptionId, &client, nullptr);
    EXPECT_EQ(subscription()->status(), Subscription::ACTIVE);
    EXPECT_FALSE(item(101).inactive || client.resetRequired());
    EXPECT_EQ(poll(), "");
}

TEST_F(SubscriptionUnit, TheServerIsAskedOnceWhetherASilentSubscriptionLives) {
    constexpr const char* gone = "6, 9, Non-active subscription status (SERVER DELETED)";
    const struct {
        UA_StatusCode answer;
        const char* poll;
    } cases[] = {{UA_STATUSCODE_BADMESSAGENOTAVAILABLE, ""},
                 {UA_STATUSCODE_BADSECURECHANNELCLOSED, ""},
                 {UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID, gone},
                 {UA_STATUSCODE_BADNOSUBSCRIPTION, gone}};
    for (const auto& c : cases) {
        ASSERT_FALSE(create(1).isError());
        EXPECT_EQ(poll(), "");
        EXPECT_TRUE(stack.questions.empty()) << "nothing to ask";
        stack.silent();
        EXPECT_EQ(poll(), "");
        EXPECT_EQ(poll(), "");
        ASSERT_EQ(stack.questions.size(), 1U) << "not again while the answer is waited for";
        EXPECT_EQ(stack.questions[0].subscriptionId, stack.subscriptionId);
        EXPECT_EQ(stack.questions[0].retransmitSequenceNumber, 0U);
        stack.duringIterate = [&] { stack.answer(c.answer); };
        EXPECT_EQ(poll(), c.poll);
        EXPECT_EQ(client.resetRequired(), *c.poll != 0);
        client.setResetRequired(false);
        stack.silent();
        EXPECT_EQ(poll(), c.poll);
        EXPECT_TRUE(stack.questions.empty()) << "not again so soon";
        ++stack.subscriptionId;
    }
}

TEST_F(SubscriptionUnit, AnAnswerOutlivesItsSubscription) {
    ASSERT_FALSE(create(1).isError());
    stack.silent();
    EXPECT_EQ(poll(), "");
    EXPECT_FALSE(client.deleteSubscription(stack.subscriptionId).isError());
    stack.answer(UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID);
    EXPECT_FALSE(client.resetRequired());
}

TEST_F(SubscriptionUnit, APollWithNothingToDoWaitsOutItsTimeAndEndsWithTheFirstReport) {
    using Clock = std::chrono::steady_clock;
    ASSERT_FALSE(create(1).isError());
    VeltoList out;
    const auto begin = Clock::now();
    EXPECT_FALSE(client.pollSubscription(&out, stack.subscriptionId, 50, 0).isError());
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(49));
    EXPECT_GT(stack.iterations, 1);
    stack.iterations = 0;
    stack.duringIterate = [this] { stack.change(101, "a"); };
    EXPECT_FALSE(client.pollSubscription(&out, stack.subscriptionId, 60000, 0).isError());
    EXPECT_EQ(stack.iterations, 1);
}

TEST_F(SubscriptionUnit, ALostConnectionIsRestoredByPollsAtMostOnceASecond) {
    ASSERT_FALSE(create(1).isError());
    stack.iterateResult = UA_STATUSCODE_BADINVALIDSTATE;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(poll(), "");
    }
    EXPECT_EQ(stack.reconnects, 1);
    EXPECT_FALSE(client.disconnect().isError());
    ASSERT_FALSE(client.resetRequired());
    EXPECT_EQ(poll(), "");
    EXPECT_EQ(stack.reconnects, 1) << "not what the host closed";
}

TEST_F(SubscriptionUnit, WhatTheHostDoesNotLearnOfQueuesLittleUntilItIsPolled) {
    stack.itemResults = {itemResult(101), itemResult(0, bad)};
    EXPECT_TRUE(create(2).isError());
    for (const char* text : {"a", "b", "c"}) {
        stack.change(101, text);
    }
    EXPECT_EQ(subscription()->getQueueLossCount(), 1U);
    EXPECT_EQ(poll(), "[a | none] [b | none]");
    for (const char* text : {"d", "e", "f"}) {
        stack.change(101, text);
    }
    EXPECT_EQ(poll(), "[d | none] [e | none] [f | none]");
}

TEST_F(SubscriptionUnit, IntervalsThatAreNoNumbersAreRefused) {
    for (const double wrong : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        stack.revisedInterval = wrong;
        EXPECT_EQ(textOf(create(1)), "6, 10, The server's publishing interval is not a number");
        EXPECT_EQ(subscription(), nullptr);
        stack.revisedInterval = 500;
        stack.itemResults = {itemResult(101), itemResult(102, 0, wrong)};
        EXPECT_EQ(textOf(create(2)),
                  "6, 10, The server's sampling interval is not a number (idx=1)");
        ++stack.subscriptionId;
    }
    EXPECT_EQ(stack.deleteRequests, 2);
}

TEST(PublishPace, ClosesAfterRequestsThatBringNothingAndOpensWithTheTime) {
    const struct {
        double keepAlives;  ///< a second
        std::uint64_t requests;
        bool news;
        std::int64_t later;
        bool open, openLater;
    } cases[] = {
        {0, 19, false, 0, true, true},    {0, 20, false, 98, false, false},
        {0, 20, false, 101, false, true}, {0, 120, false, 10000, false, false},
        {0, 120, true, 0, true, true},    {45, 119, false, 1001, false, true},
    };
    for (const auto& c : cases) {
        PublishPace pace;
        pace.earn(1000000, c.keepAlives);
        pace.spend(c.requests, c.news);
        EXPECT_EQ(pace.open(), c.open);
        pace.earn(1000000 + c.later, c.keepAlives);
        EXPECT_EQ(pace.open(), c.openLater);
    }
}

}  // namespace
}  // namespace nimb::test
