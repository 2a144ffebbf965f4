#pragma once

#include <chrono>
#include <initializer_list>
#include <string>

#include "output_lines.h"
#include "testbed/host.h"
#include "testbed/nodes.h"
#include "testbed/wait_until.h"

namespace nimb::test {

/// What a host asks for when it creates a subscription. A sampling interval of 0 makes the plant
/// report every value that is written, so that tests decide what is notified.
struct Parameters {
    double publishingInterval = 5;
    long lifetimeCount = 10000;
    long keepAliveCount = 100;
    long maxNotifications = 0;
    double samplingInterval = 0;
    long itemQueueSize = 100;
    long maxQueueSize = 0;
};

/// Positions in the statistics of a poll: queue length and losses before the event loop, behind it
/// and behind the taking of lines.
enum Statistic : std::size_t { bound, before, lossBefore, arrived, lossArrived, left, lossLeft };

/// One client of the library that follows values.
class Follower {
  public:
    explicit Follower(const std::string& url, int timeout = 5000, int stringMode = 0)
        : client(host.connectedClient(url, timeout, stringMode)) {}
    ~Follower() { host.call("zfDestroyClientB", client); }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    Result create(const VeltoList& nodes, const Parameters& p = {}) {
        return host.call("zfCreateSubscriptionB", client, nodes, p.publishingInterval,
                         p.lifetimeCount, p.keepAliveCount, p.maxNotifications, p.samplingInterval,
                         p.itemQueueSize, p.maxQueueSize);
    }
    /// Creates a subscription and returns its handle, 0 when that fails.
    long follow(std::initializer_list<plant::NodeAddress> nodes, const Parameters& p = {}) {
        const Result result = create(specification(nodes), p);
        return result.ok() ? result[1].AsLong() : 0;
    }

    Result poll(long subscription, int timeout = 0, int maxLines = 0, int mustExist = 0) {
        return host.call("zfPollSubscription", client, subscription, timeout, maxLines, mustExist);
    }
    long statistic(const Result& polled, Statistic which) {
        return polled.sublist(3).at(which).AsLong();
    }
    /// Polls without taking lines until `count` changes have come since the creation or were lost.
    [[nodiscard]] bool await(long subscription, long count) {
        return waitUntil([&] {
            const Result polled = poll(subscription, 20, -1);
            return polled.ok() &&
                   statistic(polled, arrived) + statistic(polled, lossArrived) >= count;
        });
    }
    /// The lines of one poll, or its failure.
    std::string lines(long subscription, int maxLines = 0) {
        const Result polled = poll(subscription, 0, maxLines);
        return polled.ok() ? linesText(polled.sublist(2)) : polled.text();
    }

    Host host;
    const long client;
};

}  // namespace nimb::test
