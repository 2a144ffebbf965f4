// opcua_browse(url, node): what a node of a plant refers to.

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "base/text.h"
#include "sqlite/results.h"
#include "sqlite/table.h"

namespace nimb::sqlite {

namespace {

enum Column : int { name, node, nodeClass, url, from };

constexpr const char* kSchema =
    "CREATE TABLE x(name TEXT, node TEXT, class TEXT, url HIDDEN, from_node HIDDEN)";

struct BrowseTable : sqlite3_vtab {
    Database* database = nullptr;
};

struct Row {
    host::Reference reference;
    const char* className = "";
};

struct Cursor : sqlite3_vtab_cursor {
    std::vector<Row> rows;
    std::size_t at = 0;
};

Cursor& cursorOf(sqlite3_vtab_cursor* cursor) { return *static_cast<Cursor*>(cursor); }

int connect(sqlite3* db, void* shared, int /*count*/, const char* const* /*arguments*/,
            sqlite3_vtab** table, char** message) {
    return guardedCreation(message, [&] {
        // A schema or trigger from elsewhere must not make this process talk to any url.
        sqlite3_vtab_config(db, SQLITE_VTAB_DIRECTONLY);
        if (const int error = sqlite3_declare_vtab(db, kSchema); error != SQLITE_OK) {
            return error;
        }
        auto* made = new BrowseTable{};
        made->database = &databaseOf(shared);
        *table = made;
        return SQLITE_OK;
    });
}

int disconnect(sqlite3_vtab* table) {
    delete static_cast<BrowseTable*>(table);
    return SQLITE_OK;
}

/// The arguments come as constraints on the hidden columns: url must be there, node may be.
int bestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
    return guarded(table, [&] {
        int found[2] = {-1, -1};
        bool later = false;
        for (int i = 0; i < info->nConstraint; ++i) {
            const auto& constraint = info->aConstraint[i];
            if (constraint.iColumn < url || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
            if (constraint.usable == 0) {
                later = true;
            } else {
                found[constraint.iColumn - url] = i;
            }
        }
        if (later) return SQLITE_CONSTRAINT;
        if (found[0] < 0) throw std::runtime_error("opcua_browse takes a url and a node");
        int arguments = 0;
        for (const int i : found) {
            if (i < 0) continue;
            info->aConstraintUsage[i].argvIndex = ++arguments;
            info->aConstraintUsage[i].omit = 1;
        }
        info->estimatedCost = 10000;
        info->estimatedRows = 100;
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
    delete &cursorOf(cursor);
    return SQLITE_OK;
}

/// The session of a table for that url, with its credentials; else an anonymous one.
std::shared_ptr<Session> sessionAt(Database& database, const std::string& address) {
    for (Table* table : database.tables) {
        if (table->options().plant.url == address) {
            return sessionFor(table->options().withPassword());
        }
    }
    host::Plant plant;
    plant.url = address;
    if (!database.browsing || database.browsing->connection.plant() != plant) {
        if (!plant.url.starts_with("opc.tcp://") || !host::isUtf8(plant.url)) {
            throw std::runtime_error("opcua_browse: a url opc.tcp://HOST:PORT is wanted");
        }
        database.browsing = sessionFor(plant);
    }
    return database.browsing;
}

/// Whether a reference leads to something of the plant rather than to what describes it: encoding,
/// description, type, rule or event of the node.
bool leadsOn(const host::NodeId& type) {
    constexpr std::uint32_t firstDescribing = 37;
    constexpr std::uint32_t lastDescribing = 41;
    return type.nameSpace != 0 || type.isText() || type.number < firstDescribing ||
           type.number > lastDescribing;
}

/// Classes are not among the references: one more request for all targets.
void addClasses(host::Connection& connection, std::vector<Row>& rows) {
    std::vector<host::NodeId> targets;
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        try {
            targets.push_back(host::parseNode(rows[i].reference.node));
            places.push_back(i);
        } catch (const host::BadNode&) {  // an identifier that no entry takes
        }
    }
    const auto classes = connection.reading([&] {
        constexpr int attribute = 2;
        return host::readAttribute(connection, targets, attribute);
    });
    for (std::size_t i = 0; i < places.size(); ++i) {
        constexpr std::size_t valueAt = 3;
        if (classes[i].size() > valueAt) {
            rows[places[i]].className =
                host::classNameOf(static_cast<int>(classes[i].at(valueAt).AsLong()));
        }
    }
}

int filter(sqlite3_vtab_cursor* base, int /*index*/, const char* /*kinds*/, int count,
           sqlite3_value** arguments) {
    return guarded(base->pVtab, [&] {
        const Gate gate;
        Cursor& cursor = cursorOf(base);
        cursor.rows.clear();
        cursor.at = 0;
        const std::string address = textOf(arguments[0]);
        const host::NodeId start = host::parseNode(count > 1 ? textOf(arguments[1]) : "i=85");
        const auto session = sessionAt(*static_cast<BrowseTable*>(base->pVtab)->database, address);
        try {
            for (host::Reference& reference : host::browse(session->connection, start)) {
                if (leadsOn(reference.type)) cursor.rows.push_back({std::move(reference), ""});
            }
            addClasses(session->connection, cursor.rows);
        } catch (const host::Failure& failure) {
            throw std::runtime_error(address + ": " + notation(start) + ": " + failure.what());
        } catch (const host::TooLong& error) {
            throw std::runtime_error(address + ": " + error.what());
        }
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
    *id = static_cast<sqlite3_int64>(cursorOf(cursor).at) + 1;
    return SQLITE_OK;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int number) {
    return guarded(base->pVtab, [&] {
        const Row& row = cursorOf(base).rows[cursorOf(base).at];
        if (number == name) {
            resultText(context, row.reference.name);
        } else if (number == node) {
            resultText(context, row.reference.node);
        } else if (number == nodeClass) {
            resultText(context, row.className);
        }
        return SQLITE_OK;
    });
}

}  // namespace

// Without xCreate it exists by itself, as a function in FROM.
const sqlite3_module browseModule = [] {
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
