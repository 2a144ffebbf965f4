// opcua_browse(url, node): what a node of a plant refers to.

#include <span>
#include <stdexcept>
#include <vector>

#include "base/text.h"
#include "sqlite/virtual_table.h"

namespace nimb::sqlite {

namespace {

enum Column : int { name, node, nodeClass, url, from };

struct Row {
    host::Reference reference;
    const char* className = "";
};

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

struct Definition {
    using Table = PlainTable;
    using Cursor = RowCursor<Row>;
    static constexpr const char* schema =
        "CREATE TABLE x(name TEXT, node TEXT, class TEXT, url HIDDEN, from_node HIDDEN)";

    static Table* connect(sqlite3* db, Database& database, std::span<const char* const>) {
        // A schema or trigger from elsewhere must not make this process talk to any url.
        sqlite3_vtab_config(db, SQLITE_VTAB_DIRECTONLY);
        return new Table{{}, &database};
    }

    /// The arguments come as constraints on the hidden columns: url must be there, node may be.
    static int bestIndex(Table& /*table*/, sqlite3_index_info& info) {
        int found[2] = {-1, -1};
        bool later = false;
        for (int i = 0; i < info.nConstraint; ++i) {
            const auto& constraint = info.aConstraint[i];
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
            info.aConstraintUsage[i].argvIndex = ++arguments;
            info.aConstraintUsage[i].omit = 1;
        }
        info.estimatedCost = 10000;
        info.estimatedRows = 100;
        return SQLITE_OK;
    }

    static void filter(Table& table, Cursor& cursor, int /*kind*/, const char* /*kinds*/,
                       std::span<sqlite3_value* const> arguments) {
        const std::string address = textOf(arguments[0]);
        const host::NodeId start =
            host::parseNode(arguments.size() > 1 ? textOf(arguments[1]) : "i=85");
        const auto session = sessionAt(*table.database, address);
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
    }

    static void column(const Table& /*table*/, const Cursor& cursor, sqlite3_context* context,
                       int number) {
        const Row& row = cursor.row();
        if (number == name) {
            resultText(context, row.reference.name);
        } else if (number == node) {
            resultText(context, row.reference.node);
        } else if (number == nodeClass) {
            resultText(context, row.className);
        }
    }

    static sqlite3_int64 rowid(const Cursor& cursor) {
        return static_cast<sqlite3_int64>(cursor.at) + 1;
    }
};

}  // namespace

const sqlite3_module browseModule = VirtualTable<Definition>::module();

}  // namespace nimb::sqlite
