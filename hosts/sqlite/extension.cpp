// nimbopcua_sqlite: the nodes of OPC UA servers as tables of SQLite. What it offers and how it is
// used stands in docs/sqlite.md.

#include <memory>

#include "sqlite/results.h"
#include "sqlite/table.h"

extern "C" {
const sqlite3_api_routines* sqlite3_api = nullptr;
}

namespace nimb::sqlite {

namespace {

void release(void* share) {
    guardedEnd([&] { delete static_cast<Share*>(share); });
}

}  // namespace

}  // namespace nimb::sqlite

#pragma GCC visibility push(default)

/// Called by SQLite when the extension is loaded into a database connection. Neither the adapter
/// nor a plant is touched.
extern "C" int sqlite3_nimbopcuasqlite_init(sqlite3* db, char** message,
                                            const sqlite3_api_routines* api) {
    using namespace nimb::sqlite;
    sqlite3_api = api;
    constexpr int oldest = 3038000;  // sqlite3_vtab_in()
    if (sqlite3_libversion_number() < oldest) {
        *message = sqlite3_mprintf("nimbopcua needs SQLite 3.38 or later");
        return SQLITE_ERROR;
    }
    try {
        auto database = std::make_shared<Database>();
        database->handle = db;
        const std::pair<const char*, const sqlite3_module*> modules[] = {
            {"opcua", &tableModule},
            {"opcua_browse", &browseModule},
            {"opcua_changes", &changesModule}};
        for (const auto& [name, module] : modules) {
            const int error =
                sqlite3_create_module_v2(db, name, module, new Share(database), release);
            if (error != SQLITE_OK) return error;
        }
    } catch (const std::bad_alloc&) {
        return SQLITE_NOMEM;
    }
    // Its sessions are the process's and outlive any one database connection.
    return SQLITE_OK_LOAD_PERMANENTLY;
}

#pragma GCC visibility pop
