// Subscriptions from their creation to their end, against the fake stack.

#include <chrono>
#include <cmath>
#include <limits>
#include <new>
#include <set>

#include "client/publish_pace.h"
#include "fake_subscription.h"
#include "subscription/stack_callbacks.h"
#include "testbed/failing_allocation.h"

namespace nimb::test {
namespace {

using SubscriptionLife = SubscriptionUnit;

TEST_F(SubscriptionLife, ABadStatusIsToldWhenThereIsNoLineAndPassesWithAGoodOne) {
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

TEST_F(SubscriptionLife, ADeletionByTheServerLeavesTheLinesOfThatPollAndThenNeedsAReset) {
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

TEST_F(SubscriptionLife, NamesEveryStatus) {
    const char* const names[] = {"UNINITIALIZED", "ACTIVE",         "DEACTIVATED",
                                 "SERVER ERROR",  "SERVER DELETED", "UNKNOWN"};
    for (int i = 0; i < 6; ++i) {
        const auto status = static_cast<Subscription::UAC_SUBSCRIPTION_STATUS>(i);
        EXPECT_EQ(Subscription::getStatusString(status), names[i]);
    }
}

TEST_F(SubscriptionLife, TheHostsDeletionIsSentOnceWhenTheStackReportsIt) {
    ASSERT_FALSE(create(1, 1).isError());
    stack.change(101, "fills the queue");
    stack.duringDelete = [this] { stack.deleted(); };
    EXPECT_FALSE(client.deleteSubscription(stack.subscriptionId).isError());
    EXPECT_EQ(stack.deleteRequests, 1);
    EXPECT_TRUE(client.resetRequired());
    EXPECT_EQ(textOf(client.deleteSubscription(7)),
              "2, 9, Subscription not found : handle = 7, subscription count = 0");
}

TEST_F(SubscriptionLife, AFailedDeletionIsTriedAgainAndForgetsTheSubscription) {
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

TEST_F(SubscriptionLife, DestroyingTheClientSendsNothingForItsSubscriptions) {
    ASSERT_FALSE(create(1, 1).isError());
    stack.change(101, "fills the queue");
    EXPECT_FALSE(client.destroy().isError());
    EXPECT_EQ(stack.deleteRequests, 0);
    stack.change(101, "too late");
}

TEST_F(SubscriptionLife, AnIdInUseIsRefusedAndOneOfADeadSubscriptionIsTakenOver) {
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

TEST_F(SubscriptionLife, RefusedItemsAndOddResponsesKeepTheSubscription) {
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

TEST_F(SubscriptionLife, ARefusedItemRemembersWhy) {
    stack.itemResults = {itemResult(101), itemResult(0, bad)};
    EXPECT_TRUE(create(2).isError());
    EXPECT_FALSE(item(101).inactive);
    EXPECT_TRUE(item(0).inactive);
    EXPECT_EQ(item(0).lastStatus, bad);
    EXPECT_EQ(textOf(item(0).error()), "4, 2150891520, ");
}

TEST_F(SubscriptionLife, RevisesToTheSlowestSamplingAndTheSmallestQueue) {
    stack.itemResults = {itemResult(101, 0, 250, 9), itemResult(102, 0, 500, 4),
                         itemResult(103, 0, 100, 0x80000000)};
    ASSERT_FALSE(create(3).isError());
    EXPECT_EQ(request.samplingInterval, 500);
    EXPECT_EQ(request.itemQueueSize, 4U);
}

TEST_F(SubscriptionLife, NeitherSubscriptionNorItemsAreCreatedTwice) {
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

TEST_F(SubscriptionLife, ACreationSurvivesTheFailureOfAnyAllocation) {
    std::set<std::string> errors;
    bool failed = true;
    for (long n = 0; failed; ++n, ++stack.subscriptionId) {
        stack.duringItems = [this] { stack.change(101, "early"); };
        UACErr error;
        {
            const FailingAllocation failing(n, &stack);
            try {
                error = create(2);
            } catch (const std::bad_alloc&) {
                // The call frame answers with the handler's tag.
            }
            failed = failing.failed();
        }
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

TEST_F(SubscriptionLife, ReportsWithoutASubscriptionAreIgnored) {
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

TEST_F(SubscriptionLife, TheServerIsAskedOnceWhetherASilentSubscriptionLives) {
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

TEST_F(SubscriptionLife, AnAnswerOutlivesItsSubscription) {
    ASSERT_FALSE(create(1).isError());
    stack.silent();
    EXPECT_EQ(poll(), "");
    EXPECT_FALSE(client.deleteSubscription(stack.subscriptionId).isError());
    stack.answer(UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID);
    EXPECT_FALSE(client.resetRequired());
}

TEST_F(SubscriptionLife, APollWithNothingToDoWaitsOutItsTimeAndEndsWithTheFirstReport) {
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

TEST_F(SubscriptionLife, ALostConnectionIsRestoredByPollsAtMostOnceASecond) {
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

TEST_F(SubscriptionLife, IntervalsThatAreNoNumbersAreRefused) {
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
        const auto keepAlives = [&] { return c.keepAlives; };
        pace.earn(1000000, keepAlives);
        pace.spend(c.requests, c.news);
        EXPECT_EQ(pace.open(), c.open);
        pace.earn(1000000 + c.later, keepAlives);
        EXPECT_EQ(pace.open(), c.openLater);
    }
}

}  // namespace
}  // namespace nimb::test
