// opcua_changes: the changes of a table's nodes since they were first asked for.
//     SELECT * FROM opcua_changes WHERE source = 'tank1' AND seq > 4711
// hands out what came behind number 4711 and forgets what came up to it.

#include <stdexcept>
#include <vector>

#include "sqlite/feed.h"
#include "sqlite/results.h"

namespace nimb::sqlite {

namespace {

enum Column : int {
    seq,
    source,
    name,
    node,
    value,
    status,
    statusName,
    sourceTime,
    serverTime,
    lost,
};

constexpr const char* kSchema =
    "CREATE TABLE x(seq INTEGER, source TEXT, name TEXT, node TEXT, value, status INTEGER, "
    "status_name TEXT, source_time TEXT, server_time TEXT, lost INTEGER)";

struct ChangesTable : sqlite3_vtab {
    Database* database = nullptr;
};

struct Cursor : sqlite3_vtab_cursor {
    std::string source;
    std::shared_ptr<Feed> feed;
    std::vector<Feed::Row> rows;
    std::size_t at = 0;
};

Cursor& cursorOf(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

int connect(sqlite3* db, void* shared, int /*count*/, const char* const* /*arguments*/,
            sqlite3_vtab** table, char** message) {
    return guardedCreation(message, [&] {
        if (const int error = sqlite3_declare_vtab(db, kSchema); error != SQLITE_OK) {
            return error;
        }
        auto* made = new ChangesTable{};
        made->database = &databaseOf(shared);
        *table = made;
        return SQLITE_OK;
    });
}

int disconnect(sqlite3_vtab* table) {
    delete static_cast<ChangesTable*>(table);
    return SQLITE_OK;
}

/// Takes "source = ?", which must be there, and "seq > ?" or "seq >= ?". idxNum: 0 without a
/// number, 1 greater, 2 greater or equal.
int bestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
    return guarded(table, [&] {
        bool later = false;
        int sourceAt = -1;
        int seqAt = -1;
        for (int i = 0; i < info->nConstraint; ++i) {
            const auto& constraint = info->aConstraint[i];
            const bool bySource =
                constraint.iColumn == source && constraint.op == SQLITE_INDEX_CONSTRAINT_EQ;
            const bool bySeq =
                constraint.iColumn == seq && (constraint.op == SQLITE_INDEX_CONSTRAINT_GT ||
                                              constraint.op == SQLITE_INDEX_CONSTRAINT_GE);
            later = later || ((bySource || bySeq) && constraint.usable == 0);
            if (bySource) sourceAt = i;
            if (bySeq) seqAt = i;
        }
        if (later) return SQLITE_CONSTRAINT;
        if (sourceAt < 0) throw std::runtime_error("opcua_changes needs source = 'TABLE'");
        info->aConstraintUsage[sourceAt].argvIndex = 1;
        info->aConstraintUsage[sourceAt].omit = 1;  // the name may be written in other ways
        if (seqAt >= 0) {
            info->aConstraintUsage[seqAt].argvIndex = 2;
            info->idxNum = info->aConstraint[seqAt].op == SQLITE_INDEX_CONSTRAINT_GT ? 1 : 2;
        }
        info->orderByConsumed =
            info->nOrderBy == 1 && info->aOrderBy[0].iColumn == seq && info->aOrderBy[0].desc == 0
                ? 1
                : 0;
        info->estimatedCost = 10000;
        info->estimatedRows = 1000;
        return SQLITE_OK;
    });
}

int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
    return guarded(table, [&] {
        *cursor = new Cursor{};
        return SQLITE_OK;
    });
}

int close(sqlite3_vtab_cursor* cursor) {
    return guarded(cursor->pVtab, [&] {
        const Gate gate;  // its feed may be the last of a dropped table
        delete &cursorOf(cursor);
        return SQLITE_OK;
    });
}

int filter(sqlite3_vtab_cursor* base, int index, const char* /*kinds*/, int count,
           sqlite3_value** arguments) {
    return guarded(base->pVtab, [&] {
        const Gate gate;
        Cursor& cursor = cursorOf(base);
        cursor.rows.clear();
        cursor.at = 0;
        cursor.source = textOf(arguments[0]);
        Table* table = static_cast<ChangesTable*>(base->pVtab)->database->find(cursor.source);
        if (table == nullptr) {
            throw std::runtime_error("opcua_changes: there is no opcua table " + cursor.source);
        }
        std::int64_t after = 0;
        if (count > 1 && sqlite3_value_type(arguments[1]) != SQLITE_NULL) {
            after = sqlite3_value_int64(arguments[1]);
            if (index == 2 && after > 0) --after;
        }
        cursor.feed = table->feed();
        cursor.rows = cursor.feed->take(after);
        return SQLITE_OK;
    });
}

int next(sqlite3_vtab_cursor* cursor) {
    ++cursorOf(cursor).at;
    return SQLITE_OK;
}

int atEnd(sqlite3_vtab_cursor* cursor) {
    return cursorOf(cursor).at >= cursorOf(cursor).rows.size() ? 1 : 0;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
    *id = cursorOf(cursor).rows[cursorOf(cursor).at]->seq;
    return SQLITE_OK;
}

void resultSample(sqlite3_context* context, const host::Change& change, const host::NodeInfo& info,
                  int number) {
    const VeltoROList items = change.list();
    const auto code = static_cast<std::uint32_t>(items.at(2).AsLongLong());
    host::Warning warning = nullptr;
    switch (number) {
        case value:
            resultValue(context, host::valueOf(items, 3, info.type, info.rank, warning));
            break;
        case status:
            sqlite3_result_int64(context, code);
            break;
        case statusName:
            resultText(context, library().statusName(code));
            break;
        case sourceTime:
            resultTime(context, host::timeOf(items.at(0)));
            break;
        default:
            resultTime(context, host::timeOf(items.at(1)));
            break;
    }
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int number) {
    return guarded(base->pVtab, [&] {
        const Cursor& cursor = cursorOf(base);
        const NumberedChange& row = *cursor.rows[cursor.at];
        const host::NodeInfo& info = (*cursor.feed->infos())[row.change.node];
        if (number == seq) {
            sqlite3_result_int64(context, row.seq);
        } else if (number == source) {
            resultText(context, cursor.source);
        } else if (number == name) {
            resultText(context, info.name);
        } else if (number == node) {
            resultText(context, notation(cursor.feed->nodes()[row.change.node]));
        } else if (number != lost) {
            resultSample(context, row.change, info, number);
        } else if (row.change.lost) {
            sqlite3_result_int64(context, static_cast<sqlite3_int64>(*row.change.lost));
        }
        return SQLITE_OK;
    });
}

}  // namespace

const sqlite3_module changesModule = [] {
    sqlite3_module module{};
    module.xConnect = connect;
    module.xBestIndex = bestIndex;
    module.xDisconnect = disconnect;
    module.xOpen = open;
    module.xClose = close;
    module.xFilter = filter;
    module.xNext = next;
    module.xEof = atEnd;
    module.xColumn = column;
    module.xRowid = rowid;
    return module;
}();

}  // namespace nimb::sqlite
