#include "nimbhost/plant/subscription.h"

#include <algorithm>
#include <thread>

#include "nimbhost/plant/fitting.h"

namespace nimb::nimbhost {

namespace {

constexpr host::NodeId kServerClock{0, 2258, {}};
constexpr int kValueAttribute = 13;
constexpr int kLifetimeCount = 600;
constexpr int kKeepAliveCount = 10;

VeltoList specificationOf(const std::vector<host::NodeId>& nodes) {
    VeltoList properties = VeltoList() + VeltoNull();
    for (const host::NodeId& node : nodes) {
        const std::string name = node.isText() ? node.text : std::to_string(node.number);
        properties +=
            VeltoList() + VeltoNull() + VeltoNull() + int{node.nameSpace} + name + kValueAttribute;
    }
    return VeltoList() + VeltoNull() + VeltoNull() + properties;
}

unsigned countAt(const VeltoROList& list, std::size_t i) {
    return static_cast<unsigned>(list.at(i).AsLongLong());
}

}  // namespace

Subscription::Subscription(host::Connection& connection, std::vector<std::string> names,
                           std::vector<host::NodeId> nodes, const SubscriptionRequest& request)
    : connection_(connection),
      names_(std::move(names)),
      nodes_(std::move(nodes)),
      request_(request) {}

void Subscription::create() {
    if (infos_.empty()) {
        infos_ = host::NodeCatalogue(connection_).describe(nodes_);
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            if (infos_[i].nodeClass != 0) continue;
            infos_.clear();
            throw std::runtime_error(names_[i] +
                                     ": there is no such node; nimbhost ls shows what "
                                     "there is");
        }
    }
    last_.assign(nodes_.size() + 1, "");
    queued_ = lost_ = 0;
    linesAtOnce_ = 1;
    try {
        createOnce(followsClock_);
    } catch (const host::Failure& failure) {
        // A refused node leaves its subscription at the server; it ends with the session.
        if (!followsClock_ || failure.closed() || failure.timedOut()) throw;
        connection_.close();
        createOnce(false);
        followsClock_ = false;
    }
    lastAnswer_ = Clock::now();
}

void Subscription::createOnce(bool withClock) {
    std::vector<host::NodeId> all = nodes_;
    if (withClock) all.push_back(kServerClock);
    const auto interval = static_cast<double>(request_.interval.count());
    // The queue has twice the room that is needed. Not 0, "every change": of values that a function
    // of the server provides, open62541 1.4.11 then tells the first and no other.
    const double sampling = std::min(interval, 2 * interval / request_.nodeQueue);
    const host::ResultList result = connection_.reading([&] {
        VeltoList arguments = VeltoList() + specificationOf(all);
        arguments.appendIEEE64(interval);
        arguments = arguments + kLifetimeCount + kKeepAliveCount + 0;
        arguments.appendIEEE64(sampling);
        arguments =
            arguments + std::int64_t{request_.nodeQueue} + std::int64_t{request_.libraryQueue};
        return connection_.call("zfCreateSubscriptionB", arguments);
    });
    id_ = result.at(1).AsLong();
    interval_ = std::chrono::milliseconds(static_cast<long>(result.at(2).AsDouble()));
    lifetime_ = countAt(result, 3);
    keepAlive_ = countAt(result, 4);
    sampling_ = result.at(6).AsDouble();
    nodeQueue_ = countAt(result, 7);
    generation_ = connection_.generation();
}

std::chrono::milliseconds Subscription::signOfLifeAfter() const noexcept {
    // The clock is sampled once in an interval; a second one for the way here.
    return followsClock_ ? std::max(2 * interval_, std::chrono::milliseconds(1500))
                         : interval_ * keepAlive_;
}

std::vector<Change> Subscription::poll(std::chrono::milliseconds wait) {
    const auto begin = Clock::now();
    std::vector<Change> changes;
    try {
        const host::ResultList result =
            connection_.call("zfPollSubscription",
                             VeltoList() + id_ + static_cast<int>(wait.count()) + linesAtOnce_ + 0);
        const VeltoROList queue = result.at(3).AsVeltoROList();
        queued_ = countAt(queue, 5);
        lost_ = countAt(queue, 6);
        const auto lines = result.at(1).AsLong();
        const VeltoROList all = result.at(2).AsVeltoROList();
        for (long i = 0; i < lines; ++i) {
            take(all.at(static_cast<std::size_t>(i)).AsVeltoROList(), changes);
        }
        if (lines > 0) {
            lastAnswer_ = Clock::now();
            return changes;
        }
    } catch (const host::TooLong&) {
        tooLong_ += static_cast<unsigned long>(linesAtOnce_);
        linesAtOnce_ = std::max(linesAtOnce_ / 2, 1L);
        lastAnswer_ = Clock::now();
    }
    // A poll of a dead connection returns at once; nobody wants a spinning processor.
    constexpr auto step = std::chrono::milliseconds(20);
    if (Clock::now() - begin < step) std::this_thread::sleep_for(step);
    return changes;
}

void Subscription::take(const VeltoROList& line, std::vector<Change>& out) {
    // Longer texts may come: a fifth of the room stays free.
    const std::size_t room = (nimb_string_capacity - kPollBytes) * 4 / 5;
    linesAtOnce_ = std::max<long>(static_cast<long>(room / (line.datalength() + kLineBytes)), 1);
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        const VeltoROList items = line.at(i + 1).AsVeltoROList();
        std::string bytes(reinterpret_cast<const char*>(items.data()), items.datalength());
        if (bytes == last_[i]) continue;
        last_[i] = std::move(bytes);
        const auto server = host::timeOf(items.at(1));
        if (!server) continue;  // it has had no value yet
        Change change;
        change.node = i;
        Sample& sample = change.sample;
        sample.node = host::notation(nodes_[i]);
        sample.name = names_[i];
        sample.type = infos_[i].type;
        sample.status = static_cast<std::uint32_t>(items.at(2).AsLongLong());
        sample.source = host::timeOf(items.at(0));
        sample.server = server;
        sample.value =
            host::valueOf(host::valueItems(items), infos_[i].type, infos_[i].rank, sample.warning);
        out.push_back(std::move(change));
    }
}

void Subscription::tryConnection() {
    connection_.reading([this] { connection_.tryOut(); });
}

}  // namespace nimb::nimbhost
