// Following tables: changes are numbered and kept until the next call says what is safe.

#include <algorithm>
#include <chrono>

#include "postgresql/cell.h"
#include "postgresql/guard.h"
#include "postgresql/session.h"

using namespace nimb::postgresql;
namespace host = nimb::host;

struct NimbChanges {
    std::shared_ptr<Session> session;
    std::shared_ptr<Feed> feed;
    std::vector<std::shared_ptr<const Feed::Row>> rows;
    std::string text;
};

namespace {

constexpr int kWait = 300;  // ms; the first values take one publishing interval

std::int64_t numberOfNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::shared_ptr<Feed> feedOf(Session& session, std::uint32_t table,
                             std::vector<host::NodeId> nodes) {
    std::shared_ptr<Feed>& feed = session.feeds[table];
    if (!feed || feed->nodes != nodes) {
        feed = std::make_shared<Feed>(session.connection.library(), session.connection.plant(),
                                      std::move(nodes));
    }
    if (!feed->infos) {
        feed->infos = std::make_shared<const std::vector<host::NodeInfo>>(
            session.catalogue.describe(feed->nodes));
    }
    return feed;
}

void collect(Feed& feed, std::int64_t after, std::size_t most) {
    static std::int64_t last = 0;
    while (!feed.kept.empty() && feed.kept.front()->number <= after) feed.kept.pop_front();
    if (feed.kept.size() >= most) {
        return;
    }
    std::vector<host::Change> changes;
    try {
        feed.follower.poll(feed.kept.empty() ? kWait : 0, most - feed.kept.size(), changes);
    } catch (const host::Failure&) {
        if (changes.empty()) throw;  // what had arrived is not lost; the next call tells
    }
    last = std::max({last, after, numberOfNow()});
    for (host::Change& change : changes) {
        feed.kept.push_back(std::make_shared<Feed::Row>(Feed::Row{++last, std::move(change)}));
    }
}

NimbCell makeCell(NimbChanges& changes, std::size_t i, NimbField field, NimbForm form,
                  const char*& warning) {
    const host::Change& change = changes.rows.at(i)->change;
    const host::NodeInfo& info = changes.feed->infos->at(change.node);
    const nimb::VeltoROList items = change.list();
    const auto status = static_cast<std::uint32_t>(items.at(2).AsLongLong());
    if (field == NIMB_VALUE_FIELD) {
        constexpr std::size_t valueAt = 3;
        return cellOf(isBad(status) ? host::Value()
                                    : host::valueOf(items, valueAt, info.type, info.rank, warning),
                      form, changes.text, warning);
    }
    const Sample sample{status, host::timeOf(items.at(0)), host::timeOf(items.at(1))};
    return cellOf(fieldOf(field, sample, changes.feed->nodes[change.node], info,
                          changes.session->connection.library()),
                  form, changes.text, warning);
}

}  // namespace

NimbChanges* nimb_changes(NimbSession* session, std::uint32_t table, NimbNodes nodes,
                          std::int64_t after, std::size_t most, NimbError* error) {
    return guarded(session->session.get(), error, [&] {
        auto changes = std::make_unique<NimbChanges>();
        changes->session = session->session;
        changes->feed = feedOf(*changes->session, table, nodesOf(nodes));
        collect(*changes->feed, after, most);
        changes->rows = {changes->feed->kept.begin(), changes->feed->kept.end()};
        return changes.release();
    });
}

std::size_t nimb_changes_size(const NimbChanges* changes) { return changes->rows.size(); }

void nimb_change(const NimbChanges* changes, std::size_t i, std::int64_t* number, std::size_t* node,
                 std::int64_t* lost) {
    const Feed::Row& row = *changes->rows[i];
    *number = row.number;
    *node = row.change.node;
    *lost = row.change.lost ? static_cast<std::int64_t>(*row.change.lost) : -1;
}

bool nimb_change_cell(NimbChanges* changes, std::size_t i, NimbField field, NimbForm form,
                      NimbCell* cell, const char** warning, NimbError* error) {
    return guarded(nullptr, error, [&] {
        *cell = makeCell(*changes, i, field, form, *warning);
        return true;
    });
}

void nimb_changes_free(NimbChanges* changes) { delete changes; }
