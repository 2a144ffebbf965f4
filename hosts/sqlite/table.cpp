#include "sqlite/table.h"

#include <algorithm>
#include <stdexcept>

namespace nimb::sqlite {

namespace {

/// How often missing nodes are looked for again.
constexpr std::chrono::seconds kLookAgain{10};

}  // namespace

Table::Table(Database& database, std::string schema, std::string name, TableOptions options)
    : sqlite3_vtab{},
      database_(database),
      schema_(std::move(schema)),
      name_(std::move(name)),
      options_(std::move(options)) {
    std::shared_ptr<Holdings>& kept = database_.holdings[key()];
    if (!kept) kept = std::make_shared<Holdings>();
    holdings_ = kept;
    database_.tables.push_back(this);
}

Table::~Table() { std::erase(database_.tables, this); }

void Table::drop() { database_.holdings.erase(key()); }

void Table::rename(std::string name) {
    database_.holdings.erase(key());
    name_ = std::move(name);
    database_.holdings[key()] = holdings_;
}

std::string Table::key() const {
    const host::Plant& plant = options_.plant;
    std::string key;
    for (const std::string& text :
         {schema_, name_, plant.url, plant.certificate, plant.key, plant.trusted, plant.revoked,
          plant.uri, plant.username.value_or("\x01"), options_.passwordEnvironment,
          std::to_string(plant.timeout)}) {
        key += text + '\0';
    }
    for (const host::NodeId& node : nodes()) key += notation(node) + '\0';
    return key;
}

/// Lets failures of the plant say whose they are.
template <typename Operation>
auto Table::named(Operation operation) {
    try {
        return operation();
    } catch (const host::Failure& failure) {
        throw std::runtime_error(options_.plant.url + ": " + failure.what());
    } catch (const host::TooLong& error) {
        throw std::runtime_error(options_.plant.url + ": " + error.what());
    } catch (const host::Refusal& refusal) {
        throw std::runtime_error(name_ + ": " + refusal.what());
    }
}

Session& Table::session() {
    if (!holdings_->session) holdings_->session = sessionFor(options_.withPassword());
    return *holdings_->session;
}

Infos Table::infos() {
    Session& session = this->session();
    const auto now = std::chrono::steady_clock::now();
    const bool incomplete =
        infos_ && now - infosRead_ > kLookAgain &&
        std::any_of(infos_->begin(), infos_->end(), [](const auto& i) { return i.nodeClass == 0; });
    if (!infos_ || incomplete || infosGeneration_ != session.connection.generation()) {
        infos_ = std::make_shared<const std::vector<host::NodeInfo>>(
            named([&] { return session.catalogue.describe(nodes()); }));
        infosGeneration_ = session.connection.generation();
        infosRead_ = now;
    }
    return infos_;
}

host::Reading Table::read() {
    if (!prepared_) {
        prepared_ = std::make_unique<host::PreparedRead>(session().connection, nodes());
    }
    return named([this] { return prepared_->read(); });
}

std::shared_ptr<Feed> Table::feed() {
    std::shared_ptr<Feed>& feed = holdings_->feed;
    if (!feed) {
        feed = std::make_shared<Feed>(library(), options_.withPassword(), nodes(), *infos());
        closeAtExit(feed);
    }
    return feed;
}

std::vector<Feed::Row> Table::changes(std::int64_t after) {
    constexpr std::size_t most = 500000;
    return named([&] { return feed()->take(session().connection, after, most); });
}

void Table::queueWrite(std::size_t node, const host::Value& value) {
    const Infos infos = this->infos();
    const std::string label = infos->at(node).name + " (" + notation(nodes().at(node)) + ')';
    try {
        writes_.push_back(
            {label, std::make_shared<host::Write>(nodes()[node], (*infos)[node], value)});
    } catch (const host::Refusal& refusal) {
        throw std::runtime_error(label + ": " + refusal.what());
    }
}

void Table::sendWrites() {
    const std::vector<QueuedWrite> writes = std::exchange(writes_, {});
    for (std::size_t i = 0; i < writes.size(); ++i) {
        try {
            writes[i].write->send(session().connection);
        } catch (const host::Failure& failure) {
            throw std::runtime_error(
                options_.plant.url + ": " + writes[i].label + ": " + failure.what() +
                (failure.inDoubt() ? "; the write may have been carried out" : "") +
                (i == 0 ? "" : "; writes carried out before it: " + std::to_string(i)));
        }
    }
}

void Table::markSavepoint(int savepoint) {
    savepoints_.resize(static_cast<std::size_t>(std::max(savepoint, 0)) + 1, writes_.size());
    savepoints_.back() = writes_.size();
}

void Table::rollBackTo(int savepoint) {
    const auto at = static_cast<std::size_t>(std::max(savepoint, 0));
    forgetWrites(at < savepoints_.size() ? savepoints_[at] : 0);
}

Table* Database::find(const std::string& name) {
    const auto named = [&](const Table* table) {
        return sqlite3_stricmp(table->name().c_str(), name.c_str()) == 0 ||
               sqlite3_stricmp((table->schema() + '.' + table->name()).c_str(), name.c_str()) == 0;
    };
    auto found = std::find_if(tables.begin(), tables.end(), named);
    if (found == tables.end()) {
        // SQLite connects a table when a statement first names it.
        const std::size_t dot = name.find('.');
        char* sql = dot == std::string::npos
                        ? sqlite3_mprintf("SELECT 1 FROM \"%w\"", name.c_str())
                        : sqlite3_mprintf("SELECT 1 FROM \"%w\".\"%w\"",
                                          name.substr(0, dot).c_str(), name.c_str() + dot + 1);
        sqlite3_stmt* statement = nullptr;
        if (sql != nullptr) sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr);
        sqlite3_finalize(statement);
        sqlite3_free(sql);
        found = std::find_if(tables.begin(), tables.end(), named);
    }
    return found == tables.end() ? nullptr : *found;
}

}  // namespace nimb::sqlite
