// How notifications queue up and become lines, against the fake stack.

#include "fake_subscription.h"
#include "testbed/heap.h"

namespace nimb::test {
namespace {

using SubscriptionQueue = SubscriptionUnit;

TEST_F(SubscriptionQueue, ChangesThatArriveBeforeTheItemsAreKnownAreNotLost) {
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

TEST_F(SubscriptionQueue, ALineTakesInEachItemOnceAndSkipsWhatCannotBeShown) {
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

TEST_F(SubscriptionQueue, ASecondChangeOfAnItemEndsTheLineAlsoWhenItCannotBeShown) {
    ASSERT_FALSE(create(2).isError());
    stack.change(101, "a");
    stack.change(101, guidValue(), 50);
    stack.change(102, "b");
    EXPECT_EQ(poll(), "[a | none] [a | b]");
}

TEST_F(SubscriptionQueue, ManyQueuedChangesComeInTheirOrder) {
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

TEST_F(SubscriptionQueue, AValueThatFillsABlockComesBeforeTheNext) {
    ASSERT_FALSE(create(1).isError());
    const std::string large(700000, '.');
    const std::size_t before = heapInUse();
    stack.change(101, large);
    stack.change(101, "next");
    EXPECT_TRUE(poll() == "[" + large + "] [next]");
    stack.change(101, large);
    poll();
    stack.change(101, "last");
    EXPECT_EQ(poll(), "[last]");
    EXPECT_LT(heapInUse(), before + 200000);
}

TEST_F(SubscriptionQueue, ItemsStayAsTheyAreAroundChangesOfAnotherLength) {
    ASSERT_FALSE(create(5).isError());
    for (const std::uint32_t id : {101U, 102U, 104U, 105U}) {
        stack.change(id, std::string(id, 'x'));
    }
    poll();
    const auto x = [](std::size_t length) { return std::string(length, 'x'); };
    stack.change(102, "short");
    stack.change(104, std::string(300, 'y'));
    const std::string end = " | none | " + std::string(300, 'y') + " | " + x(105) + "]";
    EXPECT_EQ(poll(), "[" + x(101) + " | short" + end);
    stack.change(101, "first");
    EXPECT_EQ(poll(), "[first | short" + end);
}

TEST_F(SubscriptionQueue, ABigPollLeavesNoMemoryBehind) {
    ASSERT_FALSE(create(50).isError());
    stack.change(101, "a");
    poll();
    const std::size_t before = heapInUse();
    for (int i = 0; i < 500; ++i) {
        stack.change(101, "b");
    }
    EXPECT_LT(heapInUse() - before, 500U * 200);
    VeltoList out;
    EXPECT_FALSE(client.pollSubscription(&out, stack.subscriptionId, 0, 0).isError());
    EXPECT_EQ(out.at(0).AsLong(), 500);
    out.clear();
    EXPECT_LT(heapInUse(), before + 200000);
}

TEST_F(SubscriptionQueue, ALineEndsAfterItsMostNotifications) {
    ASSERT_FALSE(create(1).isError());
    for (int i = 0; i < 9999; ++i) {
        stack.change(999, "of nobody");
    }
    stack.change(101, "a");
    EXPECT_EQ(poll(), "[none] [a]");
}

TEST_F(SubscriptionQueue, AValueWithBothTimesOfTheLastOneIsTakenForARepetition) {
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

TEST_F(SubscriptionQueue, AFullQueueKeepsTheOldestAndCountsTheRest) {
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

TEST_F(SubscriptionQueue, ThePollTellsItsLengthAndLossesBeforeTheLoopBehindItAndAtTheEnd) {
    ASSERT_FALSE(create(1, 3).isError());
    stack.change(101, "a");
    stack.change(101, "b");
    stack.duringIterate = [this] {
        stack.change(101, "c");
        stack.change(101, "lost");
    };
    VeltoList out;
    ASSERT_FALSE(client.pollSubscription(&out, stack.subscriptionId, 0, 1).isError());
    EXPECT_EQ(out.at(0).AsLong(), 1);
    EXPECT_EQ(linesText(out.at(1).AsVeltoROList()), "[a]");
    std::string statistics;
    for (const VeltoListItem item : out.at(2).AsVeltoROList()) statistics += item.AsAString() + ' ';
    EXPECT_EQ(statistics, "3 2 0 3 1 2 1 ");
    EXPECT_EQ(poll(-1), "");
    EXPECT_EQ(poll(), "[b] [c]");
}

TEST_F(SubscriptionQueue, WhatTheHostDoesNotLearnOfQueuesLittleUntilItIsPolled) {
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

}  // namespace
}  // namespace nimb::test
