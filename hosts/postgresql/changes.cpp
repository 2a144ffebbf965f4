// Following tables: changes are numbered and kept until the next call says what is safe.

#include "postgresql/cell.h"
#include "postgresql/guard.h"
#include "postgresql/session.h"

using namespace nimb::postgresql;
namespace host = nimb::host;

struct NimbChanges {
    std::shared_ptr<Session> session;
    std::shared_ptr<Feed> feed;
    std::vector<host::Feed::Row> rows;
    std::string text;
};

namespace {

std::shared_ptr<Feed> feedOf(Session& session, std::uint32_t table, const NimbNodes& nodes) {
    std::shared_ptr<Feed>& feed = session.feeds[table];
    if (!feed || !isJoined(feed->texts, nodes)) {
        const std::vector<host::NodeId> followed = nodesOf(nodes);
        feed =
            std::make_shared<Feed>(Feed{joined(nodes),
                                        {session.connection.library(), session.connection.plant(),
                                         followed, session.catalogue.describe(followed)}});
    }
    return feed;
}

NimbCell makeCell(NimbChanges& changes, std::size_t i, NimbField field, NimbForm form) {
    const host::Change& change = changes.rows.at(i)->change;
    const host::NodeInfo& info = changes.feed->changes.info(change);
    const nimb::VeltoROList items = change.list();
    const auto status = static_cast<std::uint32_t>(items.at(2).AsLongLong());
    if (field == NIMB_VALUE_FIELD) {
        if (host::isBad(status)) return {};
        host::Warning warning = nullptr;
        const host::Value value =
            host::valueOf(host::valueItems(items), info.type, info.rank, warning);
        return cellOf(value, form, changes.text, warning);
    }
    const Sample sample{status, host::timeOf(items.at(0)), host::timeOf(items.at(1))};
    return cellOf(fieldOf(field, sample, changes.feed->changes.node(change), info,
                          changes.session->connection.library()),
                  form, changes.text);
}

}  // namespace

NimbChanges* nimb_changes(NimbSession* session, std::uint32_t table, NimbNodes nodes,
                          std::int64_t after, std::size_t most, NimbError* error) {
    return guarded(session->session.get(), error, [&] {
        auto changes = std::make_unique<NimbChanges>();
        changes->session = session->session;
        changes->feed = feedOf(*changes->session, table, nodes);
        changes->rows = changes->feed->changes.take(changes->session->connection, after, most);
        return changes.release();
    });
}

std::size_t nimb_changes_size(const NimbChanges* changes) { return changes->rows.size(); }

void nimb_change(const NimbChanges* changes, std::size_t i, std::int64_t* number,
                 std::int64_t* lost) {
    const host::NumberedChange& row = *changes->rows[i];
    *number = row.number;
    *lost = row.change.lost ? static_cast<std::int64_t>(*row.change.lost) : -1;
}

bool nimb_change_cell(NimbChanges* changes, std::size_t i, NimbField field, NimbForm form,
                      NimbCell* cell, NimbError* error) {
    return guarded(nullptr, error, [&] {
        *cell = makeCell(*changes, i, field, form);
        return true;
    });
}

void nimb_changes_free(NimbChanges* changes) { delete changes; }
