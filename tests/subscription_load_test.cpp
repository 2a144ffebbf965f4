// 200 points that a server changes every 50 ms, followed by a polling host. Two seconds each;
// NIMB_LOAD_SECONDS=20 runs the full length.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <vector>

#include "following.h"
#include "testbed/server_process.h"

namespace nimb::test {
namespace {

constexpr std::uint32_t points = 200;

std::chrono::seconds duration() {
    const char* seconds = std::getenv("NIMB_LOAD_SECONDS");
    return std::chrono::seconds(seconds == nullptr ? 2 : std::strtol(seconds, nullptr, 10));
}

/// Follows the points and keeps account of what the lines show. Every change adds 1 to a point.
class LoadedFollower {
  public:
    explicit LoadedFollower(long maxQueueSize) {
        std::vector<plant::NodeAddress> nodes;
        for (std::uint32_t i = 0; i < points; ++i) nodes.push_back(plant::bulkPoint(i));
        Parameters p;
        p.publishingInterval = 25;
        p.maxQueueSize = maxQueueSize;
        const Result created = follower_.create(specification(nodes), p);
        EXPECT_TRUE(created.ok()) << created.text();
        id_ = created[1].AsLong();
    }

    /// One poll; false when it failed, so that no test goes on for ever.
    bool poll(int maxLines) {
        const Result polled = follower_.poll(id_, 20, maxLines);
        if (!polled.ok()) {
            ADD_FAILURE() << polled.text();
            return false;
        }
        lost = follower_.statistic(polled, lossLeft);
        queued = follower_.statistic(polled, left);
        const VeltoROList taken = polled.sublist(2);
        for (const VeltoListItem line : taken) {
            take(line.AsVeltoROList());
        }
        return true;
    }

    /// Whether every point has been seen to change since `forgetChanged`.
    [[nodiscard]] bool allChanged() const { return changedPoints_ == points; }
    void forgetChanged() {
        changed_.assign(points, false);
        changedPoints_ = 0;
    }

    long lines = 0;
    long shown = 0;    ///< changes that lines have shown
    long skipped = 0;  ///< changes between those, missing from the lines
    long lost = 0;     ///< changes that the library counted as lost
    long queued = 0;   ///< changes that wait for the next poll

  private:
    void take(const VeltoROList& line) {
        ++lines;
        ASSERT_EQ(line.size(), points + 1);
        for (std::size_t i = 0; i < points; ++i) {
            const VeltoROList item = line.at(i + 1).AsVeltoROList();
            if (item.at(3).Type() == item_code::kUndefined) {
                continue;  // not in a line yet
            }
            const double value = item.at(3).AsDouble();
            const auto steps = static_cast<long>(value - values_[i]);
            if (steps == 0) {
                continue;
            }
            if (values_[i] >= 0) {
                ++shown;
                skipped += steps - 1;
                changedPoints_ += changed_[i] ? 0U : 1U;
                changed_[i] = true;
            }
            values_[i] = value;
        }
    }

    ServerProcess server_{{"--change", std::to_string(points) + ":50"}};
    Follower follower_{server_.url()};
    long id_ = 0;
    std::vector<double> values_ = std::vector<double>(points, -1);
    std::vector<bool> changed_ = std::vector<bool>(points);
    std::uint32_t changedPoints_ = 0;
};

TEST(SubscriptionLoad, AnUnboundedQueueLosesNothing) {
    LoadedFollower follower(0);
    const auto end = std::chrono::steady_clock::now() + duration();
    while (std::chrono::steady_clock::now() < end && follower.poll(1)) {
    }
    RecordProperty("lines", static_cast<int>(follower.lines));
    EXPECT_EQ(follower.skipped, 0);
    EXPECT_EQ(follower.lost, 0);
    EXPECT_GT(follower.shown, duration().count() * 20 * points / 2);
}

TEST(SubscriptionLoad, ABoundedQueueCountsEveryLoss) {
    // What arrives before the first values are shown cannot be told from what was never there; on a
    // busy machine some of it may be lost, and the account begins anew.
    std::optional<LoadedFollower> loaded;
    bool polled = false;
    for (int tries = 0; tries < 10 && (!polled || loaded->lost > 0); ++tries) {
        polled = true;
        loaded.emplace(300);
        while (polled && !loaded->allChanged()) polled = loaded->poll(1);
    }
    LoadedFollower& follower = *loaded;
    ASSERT_EQ(follower.lost, 0);
    const auto end = std::chrono::steady_clock::now() + duration();
    while (polled && std::chrono::steady_clock::now() < end) {
        const long before = follower.lost;
        while (polled && follower.lost < before + 100) {
            polled = follower.poll(-1);
        }
        polled = polled && follower.poll(1);
    }
    // A loss is newer than all that is queued. Once the queue has been empty since the last one and
    // each point has then shown a change, all losses lie between shown changes.
    long settled = -1;
    while (polled && (settled != follower.lost || !follower.allChanged())) {
        if (settled != follower.lost) {
            settled = follower.queued == 0 ? follower.lost : -1;
            follower.forgetChanged();
        }
        polled = follower.poll(1);
    }
    EXPECT_EQ(follower.skipped, follower.lost);
    EXPECT_GE(follower.lost, 100 * duration().count());
}

}  // namespace
}  // namespace nimb::test
