#include "sqlite/feed.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace nimb::sqlite {

namespace {

// How long a statement waits when there is nothing, in milliseconds. The first values come by
// themselves, after one publishing interval.
constexpr int kWait = 300;
constexpr int kFirstWait = 3000;
// What one statement takes in, and what is kept for one that never says what is safe. Beyond it the
// library's queue fills, which counts what it drops.
constexpr std::size_t kMostAtOnce = 50000;
constexpr std::size_t kMostKept = 500000;

std::int64_t lastNumber = 0;  // of the process; the gate guards it

std::int64_t microsecondsSince1970() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

std::vector<Feed::Row> Feed::take(std::int64_t after) {
    constexpr std::int64_t tenYears = 315'360'000'000'000;
    const std::int64_t now = microsecondsSince1970();
    if (after > std::max(lastNumber, now) + tenYears) {
        throw std::runtime_error("opcua_changes: seq is compared with no number of a change");
    }
    while (!kept_.empty() && kept_.front()->seq <= after) kept_.pop_front();
    lastNumber = std::max({lastNumber, after, now});
    if (kept_.size() < kMostKept) {
        std::vector<host::Change> changes;
        const int wait = !kept_.empty() ? 0 : first_ ? kFirstWait : kWait;
        try {
            follower_.poll(wait, kMostAtOnce, changes);
            first_ = false;
        } catch (const host::Failure& failure) {
            if (changes.empty()) throw std::runtime_error(url_ + ": " + failure.what());
        }
        for (host::Change& change : changes) {
            kept_.push_back(
                std::make_shared<NumberedChange>(NumberedChange{++lastNumber, std::move(change)}));
        }
    }
    return {kept_.begin(), kept_.end()};
}

}  // namespace nimb::sqlite
