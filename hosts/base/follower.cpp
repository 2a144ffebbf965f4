#include "base/follower.h"

#include <algorithm>
#include <utility>

namespace nimb::host {

namespace {

/// A change costs its whole line, 20 us instead of 1.6 with one of 200 nodes changing.
constexpr std::size_t kNodesEach = 50;

constexpr double kPublishing = 100;     // ms
constexpr double kSampling = 0;         // every change, where the server can
constexpr int kLifetime = 36000;        // publishing intervals: an hour
constexpr int kKeepAlive = 100;         // publishing intervals: ten seconds
constexpr int kQueueOnServer = 100;     // changes of each node
constexpr int kQueueInLibrary = 10000;  // changes of each subscription
constexpr int kUnbounded = 0;
constexpr int kMustExist = 1;

constexpr std::size_t kResultBytes = 32767 - 50;
constexpr std::size_t kPlainValueBytes = 126;
constexpr std::size_t kLineBytes = 6;

/// Status bits: the value stands in a data value, and changes before it were dropped.
constexpr std::uint32_t kOverflow = 0x480;

VeltoList specificationOf(const std::vector<NodeId>& nodes, std::size_t first, std::size_t count) {
    VeltoList properties = VeltoList() + VeltoNull();
    for (std::size_t i = first; i < first + count; ++i) {
        const std::string name =
            nodes[i].isText() ? nodes[i].text : std::to_string(nodes[i].number);
        properties += VeltoList() + VeltoNull() + VeltoNull() + int{nodes[i].nameSpace} + name + 13;
    }
    return VeltoList() + VeltoNull() + VeltoNull() + properties;
}

/// Whether the node has had no value yet: no times and no value.
bool isBlank(const VeltoROList& items) {
    return items.at(3).Type() == item_code::kUndefined && !timeOf(items.at(0)) &&
           !timeOf(items.at(1));
}

}  // namespace

void Follower::addLosses(std::uint64_t count) {
    if (lost_) *lost_ += count;
}

std::optional<std::uint64_t> Follower::takeLosses(std::uint32_t status) {
    const auto lost = lost_;
    lost_ = 0;
    const bool overflow = (status & kOverflow) == kOverflow;
    return lost == 0 && overflow ? std::optional<std::uint64_t>(1) : lost;
}

void Follower::subscribePart(std::size_t first, std::size_t count) {
    const ResultList result = connection_.call(
        "zfCreateSubscriptionB", VeltoList() + specificationOf(nodes_, first, count) + kPublishing +
                                     kLifetime + kKeepAlive + kUnbounded + kSampling +
                                     kQueueOnServer + kQueueInLibrary);
    Part part;
    part.first = first;
    part.count = count;
    part.subscription = result.at(1).AsLongLong();
    part.mostLines =
        std::max(1L, static_cast<long>(kResultBytes / (kLineBytes + count * kPlainValueBytes) / 2));
    part.last.resize(count);
    parts_.push_back(std::move(part));
}

void Follower::subscribe() {
    if (!parts_.empty() && generation_ == connection_.generation()) {
        return;
    }
    parts_.clear();
    generation_ = connection_.generation();
    if (wasFollowing_) lost_.reset();
    try {
        for (std::size_t first = 0; first < nodes_.size(); first += kNodesEach) {
            subscribePart(first, std::min(kNodesEach, nodes_.size() - first));
        }
    } catch (...) {
        // The server may keep one whose id nobody knows; it ends with the session.
        parts_.clear();
        connection_.close();
        throw;
    }
    wasFollowing_ = true;
}

void Follower::takeLine(Part& part, const VeltoROList& line, std::vector<Change>& changes) {
    for (std::size_t i = 0; i < part.count; ++i) {
        const VeltoListItem item = line.at(i + 1);
        const std::string_view bytes(reinterpret_cast<const char*>(item.data()), item.datalength());
        if (bytes == part.last[i]) {
            continue;
        }
        part.last[i] = bytes;
        const VeltoROList items = item.AsVeltoROList();
        if (isBlank(items)) {
            continue;
        }
        const auto status = static_cast<std::uint32_t>(items.at(2).AsLongLong());
        changes.push_back({part.first + i, std::string(bytes), takeLosses(status)});
    }
}

/// @return whether more waits in the library
bool Follower::pollPart(Part& part, int wait, std::vector<Change>& changes) {
    std::optional<ResultList> result;
    try {
        result = connection_.call("zfPollSubscription", VeltoList() + part.subscription + wait +
                                                            part.mostLines + kMustExist);
    } catch (const TooLong&) {
        // Values grew beyond what was reckoned with; the lines of this poll are gone.
        if (part.mostLines == 1) {
            throw TooLong("the values of " + std::to_string(part.count) +
                          " followed nodes do not fit into the 32767 bytes of a result");
        }
        part.mostLines = 1;
        lost_.reset();
        return true;
    }
    const VeltoROList queue = result->at(3).AsVeltoROList();
    const long long losses = queue.at(6).AsLongLong();
    addLosses(static_cast<std::uint64_t>(std::max(0LL, losses - part.lostBefore)));
    part.lostBefore = losses;
    const VeltoROList lines = result->at(2).AsVeltoROList();
    const auto count = lines.size();
    const bool more = std::cmp_equal(count, part.mostLines) && queue.at(5).AsLongLong() > 0;
    for (std::size_t i = 0; i < count; ++i) {
        const VeltoROList line = lines.at(i).AsVeltoROList();
        takeLine(part, line, changes);
        // Texts and arrays grow: room for twice what a line takes now.
        const std::size_t bytes = kLineBytes + 2 * line.datalength();
        part.mostLines = std::clamp(static_cast<long>(kResultBytes / bytes), 1L, part.mostLines);
    }
    return more;
}

/// One poll serves all subscriptions of the client, so only the first one waits. A server that has
/// more than a message holds sends the next when it is asked for: once something came, it is waited
/// for a moment again.
void Follower::pollParts(int wait, std::size_t most, std::vector<Change>& changes) {
    constexpr int moment = 50;  // ms
    const auto end = Clock::now() + std::chrono::milliseconds(wait + 500);
    const std::size_t begin = changes.size();
    std::size_t before = begin;
    do {
        before = changes.size();
        for (Part& part : parts_) {
            for (bool more = true; more && changes.size() - begin < most; wait = 0) {
                more = pollPart(part, wait, changes);
            }
        }
        wait = moment;
    } while (changes.size() > before && changes.size() - begin < most && Clock::now() < end);
}

/// Polls succeed without lines while the server cannot be reached, and the library tries again in
/// them. Once that took longer than a request may, the caller is told.
void Follower::checkReachable(bool somethingCame) {
    constexpr long long connectionClosed = 0x80AE0000;
    constexpr int opcUa = 4;
    if (somethingCame || connection_.call("zfGetClientStateD").at(2).AsLong() != 0) {
        unreachableSince_.reset();
        return;
    }
    if (!unreachableSince_) unreachableSince_ = Clock::now();
    if (Clock::now() - *unreachableSince_ >
        std::chrono::milliseconds(connection_.plant().timeout)) {
        unreachableSince_.reset();
        throw Failure(opcUa, connectionClosed, "the server was not reached");
    }
}

void Follower::poll(int wait, std::size_t most, std::vector<Change>& changes) {
    constexpr int serverError = 6;  // the kind of a subscription that is not active any more
    connection_.reading([&] {
        subscribe();
        const std::size_t before = changes.size();
        try {
            pollParts(wait, most, changes);
        } catch (const Failure& failure) {
            if (failure.kind() != serverError) throw;
            connection_.reset();
            connection_.open();
            subscribe();
            pollParts(wait, most, changes);
        }
        checkReachable(changes.size() > before);
    });
}

}  // namespace nimb::host
