#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "base/follower.h"
#include "sqlite/table.h"

namespace nimb::sqlite {

/// A change with its number in the order of arrival.
struct NumberedChange {
    std::int64_t seq = 0;
    host::Change change;
};

/// The changes of a table's nodes, kept until somebody says that they are safe.
///
/// Numbers rise over all tables of the process and, being begun at the time of day in microseconds,
/// over its restarts too: what was recorded before is always below what comes.
class Feed : public Closable {
  public:
    using Row = std::shared_ptr<const NumberedChange>;

    Feed(host::Library& library, host::Plant plant, std::vector<host::NodeId> nodes, Infos infos)
        : url_(plant.url),
          infos_(std::move(infos)),
          nodes_(nodes),
          follower_(library, std::move(plant), std::move(nodes)) {}

    void close() noexcept override { follower_.close(); }

    /// Forgets the changes up to `after`, collects what has arrived and returns all that are kept.
    /// Waits a moment when there are none.
    std::vector<Row> take(std::int64_t after);

    const std::vector<host::NodeId>& nodes() const noexcept { return nodes_; }
    const Infos& infos() const noexcept { return infos_; }

  private:
    std::string url_;
    Infos infos_;
    std::vector<host::NodeId> nodes_;
    host::Follower follower_;
    std::deque<Row> kept_;
    bool first_ = true;
};

}  // namespace nimb::sqlite
