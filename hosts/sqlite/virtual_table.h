#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "sqlite/results.h"
#include "sqlite/table.h"

namespace nimb::sqlite {

/// A table of which there is nothing to know but whose it is.
struct PlainTable : sqlite3_vtab {
    Database* database = nullptr;
};

/// A cursor over rows that were collected when its scan began.
template <typename RowType>
struct RowCursor : sqlite3_vtab_cursor {
    std::vector<RowType> rows;
    std::size_t at = 0;

    const RowType& row() const noexcept { return rows[at]; }
};

/// The methods that SQLite calls for reading a virtual table; errors become SQLite's.
///
/// `Definition` tells the tables apart:
///   Table, Cursor            a sqlite3_vtab and a RowCursor, or what derives from them
///   schema                   the CREATE TABLE that declares the columns
///   connect(db, database, arguments)        a new Table; with the gate held
///   bestIndex(table, info)                  an SQLite error code
///   filter(table, cursor, kind, kinds, arguments)  collects the rows; with the gate held
///   column(table, cursor, context, number)  one field of the row under the cursor
///   rowid(cursor)                           its number
template <typename Definition>
class VirtualTable {
  public:
    /// Without xCreate it exists by itself, as a function in FROM.
    static sqlite3_module module() {
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
    }

  private:
    using Table = typename Definition::Table;
    using Cursor = typename Definition::Cursor;

    static int connect(sqlite3* db, void* shared, int count, const char* const* arguments,
                       sqlite3_vtab** table, char** message) {
        return guardedCreation(message, [&] {
            if (const int error = sqlite3_declare_vtab(db, Definition::schema);
                error != SQLITE_OK) {
                return error;
            }
            const Gate gate;
            *table = Definition::connect(db, databaseOf(shared), {arguments, arguments + count});
            return SQLITE_OK;
        });
    }

    static int disconnect(sqlite3_vtab* table) {
        return guardedEnd([&] { delete &tableOf(table); });
    }

    static Table& tableOf(sqlite3_vtab* table) { return *static_cast<Table*>(table); }
    static Cursor& cursorOf(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

    static int bestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
        return guarded(table, [&] { return Definition::bestIndex(tableOf(table), *info); });
    }

    static int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
        return guarded(table, [&] {
            *cursor = new Cursor{};
            return SQLITE_OK;
        });
    }

    static int close(sqlite3_vtab_cursor* cursor) {
        return guardedEnd([&] { delete &cursorOf(cursor); });
    }

    static int filter(sqlite3_vtab_cursor* base, int kind, const char* kinds, int count,
                      sqlite3_value** arguments) {
        return guarded(base->pVtab, [&] {
            const Gate gate;
            Cursor& cursor = cursorOf(base);
            cursor.rows.clear();
            cursor.at = 0;
            Definition::filter(tableOf(base->pVtab), cursor, kind, kinds,
                               {arguments, arguments + count});
            return SQLITE_OK;
        });
    }

    static int next(sqlite3_vtab_cursor* cursor) {
        ++cursorOf(cursor).at;
        return SQLITE_OK;
    }

    static int atEnd(sqlite3_vtab_cursor* cursor) {
        return cursorOf(cursor).at >= cursorOf(cursor).rows.size() ? 1 : 0;
    }

    static int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int number) {
        return guarded(base->pVtab, [&] {
            Definition::column(tableOf(base->pVtab), cursorOf(base), context, number);
            return SQLITE_OK;
        });
    }

    static int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
        *id = Definition::rowid(cursorOf(cursor));
        return SQLITE_OK;
    }
};

}  // namespace nimb::sqlite
