#include "base/feed.h"

#include <algorithm>
#include <chrono>

#include "base/write.h"

namespace nimb::host {

namespace {

/// How long is waited when there is nothing, in milliseconds. The first values come by themselves,
/// after one publishing interval.
constexpr int kWait = 300;
constexpr int kFirstWait = 3000;
constexpr std::size_t kMostAtOnce = 50000;

std::int64_t lastNumber = 0;  // of the process

std::int64_t microsecondsSince1970() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

Feed::Feed(Library& library, Plant plant, const std::vector<NodeId>& nodes,
           const std::vector<NodeInfo>& infos) {
    constexpr int variable = 2;
    for (std::size_t i = 0; i < infos.size(); ++i) {
        if (infos[i].nodeClass != variable) continue;
        nodes_.push_back(nodes[i]);
        infos_.push_back(infos[i]);
    }
    if (nodes_.empty()) throw Refusal("none of the nodes is a variable that can be followed");
    follower_ = std::make_unique<Follower>(library, std::move(plant), nodes_);
}

/// A server that stands still, or the way to it, looks like a plant in which nothing changes: polls
/// succeed. After as long without a change as a request may take, a read shows it. Not one of the
/// follower's session: once it timed out, its late answer makes the stack close the channel, which
/// costs the changes on their way (open62541 1.4.11).
void Feed::checkSilence(Connection& reader, bool somethingCame) {
    const auto now = std::chrono::steady_clock::now();
    if (!somethingCame) {
        if (now - lastSign_ <= std::chrono::milliseconds(reader.plant().timeout)) return;
        reader.reading([&reader] { reader.tryOut(); });
    }
    lastSign_ = now;
}

void Feed::collect(Connection& reader, std::size_t most) {
    const int wait = !kept_.empty() ? 0 : first_ ? kFirstWait : kWait;
    std::vector<Change> changes;
    try {
        follower_->poll(wait, std::min(kMostAtOnce, most - kept_.size()), changes);
        first_ = false;
        checkSilence(reader, !changes.empty());
    } catch (const Failure&) {
        if (changes.empty()) throw;  // what had arrived is not lost; the next call tells
    }
    for (Change& change : changes) {
        kept_.push_back(
            std::make_shared<NumberedChange>(NumberedChange{++lastNumber, std::move(change)}));
    }
}

std::vector<Feed::Row> Feed::take(Connection& reader, std::int64_t after, std::size_t most) {
    constexpr std::int64_t tenYears = 315'360'000'000'000;
    const std::int64_t now = microsecondsSince1970();
    if (after > std::max(lastNumber, now) + tenYears) {
        throw OutOfRange("no change has a number like " + std::to_string(after));
    }
    while (!kept_.empty() && kept_.front()->number <= after) kept_.pop_front();
    lastNumber = std::max({lastNumber, after, now});
    if (kept_.size() < most) collect(reader, most);
    return {kept_.begin(), kept_.end()};
}

}  // namespace nimb::host
