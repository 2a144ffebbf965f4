// opcua_changes: the changes of a table's nodes since they were first asked for.
//     SELECT * FROM opcua_changes WHERE source = 'tank1' AND seq > 4711
// hands out what came behind number 4711 and forgets what came up to it.

#include <span>
#include <stdexcept>

#include "sqlite/virtual_table.h"

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

struct ChangesCursor : RowCursor<Feed::Row> {
    std::string source;
    std::shared_ptr<Feed> feed;
};

void resultSample(sqlite3_context* context, const host::Change& change, const host::NodeInfo& info,
                  int number) {
    const VeltoROList items = change.list();
    const auto code = static_cast<std::uint32_t>(items.at(2).AsLongLong());
    host::Warning warning = nullptr;
    switch (number) {
        case value:
            resultValue(context,
                        host::valueOf(host::valueItems(items), info.type, info.rank, warning));
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

struct Definition {
    using Table = PlainTable;
    using Cursor = ChangesCursor;
    static constexpr const char* schema =
        "CREATE TABLE x(seq INTEGER, source TEXT, name TEXT, node TEXT, value, status INTEGER, "
        "status_name TEXT, source_time TEXT, server_time TEXT, lost INTEGER)";

    static Table* connect(sqlite3* /*db*/, Database& database, std::span<const char* const>) {
        return new Table{{}, &database};
    }

    /// Takes "source = ?", which must be there, and "seq > ?" or "seq >= ?". idxNum: 0 without a
    /// number, 1 greater, 2 greater or equal.
    static int bestIndex(Table& /*table*/, sqlite3_index_info& info) {
        bool later = false;
        int sourceAt = -1;
        int seqAt = -1;
        for (int i = 0; i < info.nConstraint; ++i) {
            const auto& constraint = info.aConstraint[i];
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
        info.aConstraintUsage[sourceAt].argvIndex = 1;
        info.aConstraintUsage[sourceAt].omit = 1;  // the name may be written in other ways
        if (seqAt >= 0) {
            info.aConstraintUsage[seqAt].argvIndex = 2;
            info.idxNum = info.aConstraint[seqAt].op == SQLITE_INDEX_CONSTRAINT_GT ? 1 : 2;
        }
        info.orderByConsumed =
            info.nOrderBy == 1 && info.aOrderBy[0].iColumn == seq && info.aOrderBy[0].desc == 0;
        info.estimatedCost = 10000;
        info.estimatedRows = 1000;
        return SQLITE_OK;
    }

    static void filter(Table& table, Cursor& cursor, int kind, const char* /*kinds*/,
                       std::span<sqlite3_value* const> arguments) {
        cursor.source = textOf(arguments[0]);
        sqlite::Table* followed = table.database->find(cursor.source);
        if (followed == nullptr) {
            throw std::runtime_error("opcua_changes: there is no opcua table " + cursor.source);
        }
        std::int64_t after = 0;
        if (arguments.size() > 1 && sqlite3_value_type(arguments[1]) != SQLITE_NULL) {
            after = sqlite3_value_int64(arguments[1]);
            if (kind == 2 && after > 0) --after;
        }
        cursor.rows = followed->changes(after);
        cursor.feed = followed->feed();
    }

    static void column(const Table& /*table*/, const Cursor& cursor, sqlite3_context* context,
                       int number) {
        const host::NumberedChange& row = *cursor.row();
        const host::NodeInfo& info = cursor.feed->info(row.change);
        if (number == seq) {
            sqlite3_result_int64(context, row.number);
        } else if (number == source) {
            resultText(context, cursor.source);
        } else if (number == name) {
            resultText(context, info.name);
        } else if (number == node) {
            resultText(context, notation(cursor.feed->node(row.change)));
        } else if (number != lost) {
            resultSample(context, row.change, info, number);
        } else if (row.change.lost) {
            sqlite3_result_int64(context, static_cast<sqlite3_int64>(*row.change.lost));
        }
    }

    static sqlite3_int64 rowid(const Cursor& cursor) { return cursor.row()->number; }
};

}  // namespace

const sqlite3_module changesModule = VirtualTable<Definition>::module();

}  // namespace nimb::sqlite
