// Module opcua: nodes of a plant, read and written as the rows of a table.

#include <algorithm>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "sqlite/virtual_table.h"

namespace nimb::sqlite {

namespace {

enum Column : int { name, node, value, type, status, statusName, sourceTime, serverTime };

/// Columns that the description of the nodes fills, without reading a value.
constexpr sqlite3_uint64 kDescribed = 1U << name | 1U << node | 1U << type;

struct NodeCursor : RowCursor<std::size_t> {  ///< its rows are the nodes that are wanted
    Infos infos;
    host::Reading reading;
    bool wasRead = false;
};

/// The texts that a constraint admits. What is no text equals no name.
std::vector<std::string> admitted(sqlite3_value* argument, bool list) {
    std::vector<std::string> texts;
    const auto add = [&](sqlite3_value* one) {
        if (sqlite3_value_type(one) == SQLITE_TEXT) texts.push_back(textOf(one));
    };
    if (!list) {
        add(argument);
        return texts;
    }
    sqlite3_value* one = nullptr;
    for (int more = sqlite3_vtab_in_first(argument, &one); more == SQLITE_OK;
         more = sqlite3_vtab_in_next(argument, &one)) {
        add(one);
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

void keepAdmitted(NodeCursor& cursor, const Table& table, char kind, sqlite3_value* argument) {
    const bool list = kind == 'N' || kind == 'D';
    const bool byName = kind == 'n' || kind == 'N';
    const auto texts = admitted(argument, list);
    std::erase_if(cursor.rows, [&](std::size_t i) {
        const std::string text = byName ? (*cursor.infos)[i].name : notation(table.nodes()[i]);
        return !std::binary_search(texts.begin(), texts.end(), text);
    });
}

void warn(const Table& table, const NodeCursor& cursor) {
    for (const std::size_t i : cursor.rows) {
        if (!cursor.reading.status(i)) {
            sqlite3_log(SQLITE_WARNING, "%s: %s has a value without a form: NULL",
                        table.name().c_str(), notation(table.nodes()[i]).c_str());
        }
    }
}

void resultNodeValue(sqlite3_context* context, const Table& table, const NodeCursor& cursor,
                     std::size_t i) {
    host::Warning warning = nullptr;
    resultValue(context, cursor.reading.value(i, (*cursor.infos)[i], warning));
    if (warning != nullptr && cursor.reading.status(i)) {
        sqlite3_log(SQLITE_WARNING, "%s: %s: %s: NULL", table.name().c_str(),
                    notation(table.nodes()[i]).c_str(), warning);
    }
}

void resultRead(sqlite3_context* context, const NodeCursor& cursor, std::size_t i, int column) {
    const host::Reading& reading = cursor.reading;
    if (column == sourceTime || column == serverTime) {
        resultTime(context, column == sourceTime ? reading.sourceTime(i) : reading.serverTime(i));
    } else if (const auto code = reading.status(i); !code) {
        sqlite3_result_null(context);
    } else if (column == status) {
        sqlite3_result_int64(context, *code);
    } else {
        resultText(context, library().statusName(*code));
    }
}

struct Definition {
    using Table = sqlite::Table;
    using Cursor = NodeCursor;
    static constexpr const char* schema =
        "CREATE TABLE x(name TEXT, node TEXT, value, type TEXT, status INTEGER, status_name TEXT, "
        "source_time TEXT, server_time TEXT)";

    static Table* connect(sqlite3* /*db*/, Database& database,
                          std::span<const char* const> arguments) {
        constexpr std::size_t own = 3;  // behind module, schema and name
        return new Table(database, arguments[1], arguments[2],
                         parseOptions({arguments.begin() + own, arguments.end()}));
    }

    /// Takes "name = ?" and "node = ?", also with IN. The letters of idxStr say what the values
    /// are: name or node, a capital for a list. A constrained scan is the same request as a whole
    /// one and must not seem cheaper: in a join it would otherwise be made once for each row.
    static int bestIndex(Table& table, sqlite3_index_info& info) {
        std::string taken;
        for (int i = 0; i < info.nConstraint; ++i) {
            const auto& constraint = info.aConstraint[i];
            const bool wanted = constraint.iColumn == name || constraint.iColumn == node;
            if (!wanted || constraint.usable == 0 || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ ||
                sqlite3_stricmp(sqlite3_vtab_collation(&info, i), "BINARY") != 0) {
                continue;
            }
            const bool list = sqlite3_vtab_in(&info, i, 1) != 0;
            const char letter = constraint.iColumn == name ? 'n' : 'd';
            taken += static_cast<char>(list ? letter - 'a' + 'A' : letter);
            info.aConstraintUsage[i].argvIndex = static_cast<int>(taken.size());
        }
        const auto nodes = static_cast<double>(table.nodes().size());
        info.estimatedCost = 10000 + nodes;
        info.estimatedRows = taken.empty() ? static_cast<sqlite3_int64>(nodes) : 1;
        info.idxNum = (info.colUsed & ~kDescribed) != 0 ? 1 : 0;
        info.idxStr = sqlite3_mprintf("%s", taken.c_str());
        info.needToFreeIdxStr = 1;
        return info.idxStr == nullptr ? SQLITE_NOMEM : SQLITE_OK;
    }

    static void filter(Table& table, Cursor& cursor, int reads, const char* kinds,
                       std::span<sqlite3_value* const> arguments) {
        cursor.infos = table.infos();
        cursor.rows.resize(table.nodes().size());
        std::iota(cursor.rows.begin(), cursor.rows.end(), 0U);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            keepAdmitted(cursor, table, kinds[i], arguments[i]);
        }
        cursor.wasRead = reads != 0 && !cursor.rows.empty();
        if (cursor.wasRead) {
            cursor.reading = table.read();
            warn(table, cursor);
        }
    }

    static void column(const Table& table, const Cursor& cursor, sqlite3_context* context,
                       int number) {
        if (sqlite3_vtab_nochange(context) != 0) return;
        const std::size_t i = cursor.row();
        const host::NodeInfo& info = (*cursor.infos)[i];
        if (number == name) {
            resultText(context, info.name);
        } else if (number == node) {
            resultText(context, notation(table.nodes()[i]));
        } else if (number == type) {
            const std::string text = nameOf(info.type);
            resultText(context, info.rank >= 0 ? text + "[]" : text);
        } else if (!cursor.wasRead) {
            sqlite3_result_null(context);
        } else if (number == value) {
            resultNodeValue(context, table, cursor, i);
        } else {
            resultRead(context, cursor, i, number);
        }
    }

    static sqlite3_int64 rowid(const Cursor& cursor) {
        return static_cast<sqlite3_int64>(cursor.row()) + 1;
    }
};

Table& tableOf(sqlite3_vtab* table) { return *static_cast<Table*>(table); }

int destroy(sqlite3_vtab* table) {
    return guardedEnd([&] {
        tableOf(table).drop();
        delete &tableOf(table);
    });
}

host::Value givenValue(sqlite3_value* given) {
    switch (sqlite3_value_type(given)) {
        case SQLITE_INTEGER:
            return host::Value(static_cast<std::int64_t>(sqlite3_value_int64(given)));
        case SQLITE_FLOAT:
            return host::Value(sqlite3_value_double(given));
        case SQLITE_TEXT:
            return host::Value(textOf(given));
        case SQLITE_BLOB:
            return host::Value(host::Bytes{});
        default:
            return {};
    }
}

/// Arguments: the row's old id, its new one, the columns. Only values can be set; they are checked
/// here, for all rows of the statement, and written when the transaction is committed.
int update(sqlite3_vtab* table, int count, sqlite3_value** arguments, sqlite3_int64* /*newId*/) {
    return guarded(table, [&] {
        if (count == 1) throw std::runtime_error("nodes of a plant cannot be deleted");
        if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) {
            throw std::runtime_error("nodes cannot be inserted into a plant");
        }
        const sqlite3_int64 id = sqlite3_value_int64(arguments[0]);
        bool others = sqlite3_value_int64(arguments[1]) != id;
        for (int i = name; i <= serverTime; ++i) {
            others = others || (i != value && sqlite3_value_nochange(arguments[2 + i]) == 0);
        }
        if (others) throw std::runtime_error("only the column value can be set");
        sqlite3_value* given = arguments[2 + value];
        if (sqlite3_value_nochange(given) == 0) {
            const Gate gate;
            tableOf(table).queueWrite(static_cast<std::size_t>(id - 1), givenValue(given));
        }
        return SQLITE_OK;
    });
}

int begin(sqlite3_vtab* /*table*/) { return SQLITE_OK; }

int sync(sqlite3_vtab* table) {
    return guarded(table, [&] {
        if (tableOf(table).queuedWrites() != 0) {
            const Gate gate;
            tableOf(table).sendWrites();
        }
        return SQLITE_OK;
    });
}

int forget(sqlite3_vtab* table) {
    tableOf(table).forgetWrites(0);
    return SQLITE_OK;
}

int rename(sqlite3_vtab* table, const char* newName) {
    return guarded(table, [&] {
        tableOf(table).rename(newName);
        return SQLITE_OK;
    });
}

int savepoint(sqlite3_vtab* table, int number) {
    return guarded(table, [&] {
        tableOf(table).markSavepoint(number);
        return SQLITE_OK;
    });
}

int release(sqlite3_vtab* /*table*/, int /*number*/) { return SQLITE_OK; }

int rollBackTo(sqlite3_vtab* table, int number) {
    return guarded(table, [&] {
        tableOf(table).rollBackTo(number);
        return SQLITE_OK;
    });
}

}  // namespace

const sqlite3_module tableModule = [] {
    sqlite3_module module = VirtualTable<Definition>::module();
    module.iVersion = 2;
    module.xCreate = module.xConnect;
    module.xDestroy = destroy;
    module.xUpdate = update;
    module.xBegin = begin;
    module.xSync = sync;
    module.xCommit = forget;
    module.xRollback = forget;
    module.xRename = rename;
    module.xSavepoint = savepoint;
    module.xRelease = release;
    module.xRollbackTo = rollBackTo;
    return module;
}();

}  // namespace nimb::sqlite
