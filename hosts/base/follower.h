#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"
#include "base/nodes.h"

namespace nimb::host {

/// One change of one node, kept as the bytes that came.
struct Change {
    std::size_t node = 0;  ///< position among the followed nodes
    std::string items;     ///< source time, server time, status, value
    /// Changes lost since the one before: a number, at least 1 where the server only tells that
    /// there were some; nothing when nobody knows, as the subscription had to be made anew.
    std::optional<std::uint64_t> lost = 0;

    VeltoROList list() const {
        return {reinterpret_cast<const unsigned char*>(items.data()), items.size()};
    }
};

/// Follows nodes by subscriptions on a client of its own: a lost subscription costs its client the
/// set-up, and with it everything else that was prepared there.
///
/// Nothing arrives but in poll(). The server keeps a subscription for an hour without polls, and a
/// hundred changes of a node between two; the library ten thousand of a subscription.
class Follower {
  public:
    Follower(Library& library, Plant plant, std::vector<NodeId> nodes)
        : connection_(library, std::move(plant)), nodes_(std::move(nodes)) {}

    /// Appends what has arrived, waiting up to `wait` milliseconds when that is nothing. Subscribes
    /// first if need be, also after a loss.
    /// @param most  changes after which it stops taking more, give or take a result
    /// Throws as Connection::reading, and Failure for a node that cannot be followed.
    void poll(int wait, std::size_t most, std::vector<Change>& changes);

    /// Closes the session, and with it the subscriptions.
    void close() noexcept { connection_.close(); }

  private:
    /// A subscription to some nodes that stand behind each other.
    struct Part {
        std::size_t first = 0;
        std::size_t count = 0;
        long long subscription = 0;
        long mostLines = 1;
        long long lostBefore = 0;
        std::vector<std::string> last;  ///< of each node; a line repeats those that did not change
    };

    void subscribe();
    void subscribePart(std::size_t first, std::size_t count);
    void pollParts(int wait, std::size_t most, std::vector<Change>& changes);
    bool pollPart(Part& part, int wait, std::vector<Change>& changes);
    void checkReachable(bool somethingCame);
    void takeLine(Part& part, const VeltoROList& line, std::vector<Change>& changes);
    void addLosses(std::uint64_t count);
    std::optional<std::uint64_t> takeLosses(std::uint32_t status);

    Connection connection_;
    std::vector<NodeId> nodes_;
    std::vector<Part> parts_;
    unsigned generation_ = 0;
    bool wasFollowing_ = false;
    std::optional<std::uint64_t> lost_ = 0;  ///< since the last change that was taken

    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> unreachableSince_;
};

}  // namespace nimb::host
