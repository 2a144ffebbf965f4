#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "base/follower.h"
#include "base/nodes.h"

namespace nimb::host {

/// A change with its number in the order of arrival.
struct NumberedChange {
    std::int64_t number = 0;
    Change change;
};

/// The changes of some nodes, kept until somebody says that they are safe.
///
/// Numbers rise over all feeds of the process and, being begun at the time of day in microseconds,
/// over its restarts too: what was recorded before is always below what comes. For one thread at a
/// time, of all that have feeds.
class Feed {
  public:
    using Row = std::shared_ptr<const NumberedChange>;

    /// @param infos  what the nodes are: variables are followed, and one node that is none would
    ///               fail the subscription of all
    /// Throws Refusal when there are no variables.
    Feed(Library& library, Plant plant, const std::vector<NodeId>& nodes,
         const std::vector<NodeInfo>& infos);

    /// Forgets the changes up to `after`, collects what has arrived and returns all that are kept.
    /// Waits a moment when there are none.
    /// @param reader  another session with the plant, to be read when nothing changes for long
    /// @param most    changes to keep; beyond them the library's queue fills, which counts losses
    /// Throws as Follower::poll, Connection::reading, and OutOfRange for an `after` that no change
    /// can have.
    std::vector<Row> take(Connection& reader, std::int64_t after, std::size_t most);

    /// Closes the session, and with it the subscriptions.
    void close() noexcept { follower_->close(); }

    /// The node of a change and what it is.
    const NodeId& node(const Change& change) const { return nodes_.at(change.node); }
    const NodeInfo& info(const Change& change) const { return infos_.at(change.node); }

  private:
    void collect(Connection& reader, std::size_t most);
    void checkSilence(Connection& reader, bool somethingCame);

    std::vector<NodeId> nodes_;
    std::vector<NodeInfo> infos_;
    std::unique_ptr<Follower> follower_;
    std::deque<Row> kept_;
    bool first_ = true;
    std::chrono::steady_clock::time_point lastSign_;
};

}  // namespace nimb::host
