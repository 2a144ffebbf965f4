#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/connection.h"
#include "base/nodes.h"
#include "nimbhost/plant/sample.h"

namespace nimb::nimbhost {

/// What is asked of a server.
struct SubscriptionRequest {
    std::chrono::milliseconds interval{500};  ///< between messages
    unsigned nodeQueue = 10;                  ///< changes of a node that the server keeps
    unsigned libraryQueue = 5000;             ///< changes that the library keeps
};

/// A change of a node's value.
struct Change {
    std::size_t node = 0;  ///< by its position
    Sample sample;
};

/// Nodes that are followed, together with the server's clock (i=2258): polls do not tell of signs
/// of life, and a plant may stand still, but the clock always moves. A server that lets nobody
/// follow its clock is followed without.
class Subscription {
  public:
    using Clock = std::chrono::steady_clock;

    /// @param connection  must outlive the object and serve no other purpose: a lost subscription
    ///                    costs it its set-up
    Subscription(host::Connection& connection, std::vector<std::string> names,
                 std::vector<host::NodeId> nodes, const SubscriptionRequest& request);

    /// Creates it; again, after a loss. Throws as Connection::reading.
    void create();

    /// Waits for the server at most so long and returns what has changed. Throws host::Failure when
    /// the subscription is lost.
    std::vector<Change> poll(std::chrono::milliseconds wait);

    /// Whether the connection works: reads the server's clock. Throws as Connection::reading. A
    /// session that had to be set up anew has lost the subscription: create() is due.
    void tryConnection();
    bool isLost() const noexcept { return generation_ != connection_.generation(); }

    long id() const noexcept { return id_; }
    std::chrono::milliseconds interval() const noexcept { return interval_; }
    unsigned lifetimeCount() const noexcept { return lifetime_; }
    unsigned keepAliveCount() const noexcept { return keepAlive_; }
    double samplingInterval() const noexcept { return sampling_; }
    unsigned nodeQueue() const noexcept { return nodeQueue_; }
    bool followsClock() const noexcept { return followsClock_; }
    /// When something must have come, if all is well: the pace with the clock, otherwise the signs
    /// of life that the server was asked for.
    std::chrono::milliseconds signOfLifeAfter() const noexcept;

    Clock::time_point lastAnswer() const noexcept { return lastAnswer_; }
    unsigned long queued() const noexcept { return queued_; }
    unsigned long queueBound() const noexcept { return request_.libraryQueue; }
    /// Changes dropped since the creation by the library's queue, and with results that were too
    /// long, whose lines count as one each.
    unsigned long lostInLibrary() const noexcept { return lost_ + tooLong_; }

  private:
    void createOnce(bool withClock);
    void take(const VeltoROList& line, std::vector<Change>& out);

    host::Connection& connection_;
    std::vector<std::string> names_;
    std::vector<host::NodeId> nodes_;
    std::vector<host::NodeInfo> infos_;
    std::vector<std::string> last_;  ///< bytes of each node's last data value
    SubscriptionRequest request_;
    bool followsClock_ = true;
    unsigned generation_ = 0;
    long id_ = 0;
    std::chrono::milliseconds interval_{};
    unsigned lifetime_ = 0, keepAlive_ = 0, nodeQueue_ = 0;
    double sampling_ = 0;
    long linesAtOnce_ = 1;
    Clock::time_point lastAnswer_ = Clock::now();
    unsigned long queued_ = 0, lost_ = 0, tooLong_ = 0;
};

}  // namespace nimb::nimbhost
