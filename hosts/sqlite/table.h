#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/feed.h"
#include "base/prepared_read.h"
#include "base/write.h"
#include "sqlite/api.h"
#include "sqlite/options.h"
#include "sqlite/sessions.h"

namespace nimb::sqlite {

struct Database;
using host::Infos;

/// The changes of a table's nodes.
struct Feed : Closable, host::Feed {
    using host::Feed::Feed;
    void close() noexcept override { host::Feed::close(); }
};

/// What a table holds on to while SQLite disconnects and connects it: it does so whenever anybody
/// changes the schema.
struct Holdings {
    std::shared_ptr<Session> session;
    std::shared_ptr<Feed> feed;
};

/// A virtual table of module opcua: nodes of a plant, a row a node. Connecting one, which happens
/// whenever a schema is read, only reads its options; plant and library come in with the first use.
class Table : public sqlite3_vtab {
  public:
    Table(Database& database, std::string schema, std::string name, TableOptions options);
    ~Table();
    /// Gives up what it holds, for it is dropped.
    void drop();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    const std::string& schema() const noexcept { return schema_; }
    const std::string& name() const noexcept { return name_; }
    void rename(std::string name);
    const TableOptions& options() const noexcept { return options_; }
    const std::vector<host::NodeId>& nodes() const noexcept { return options_.nodes; }

    /// @name With the gate held
    /// Errors name the plant.
    /// @{
    Session& session();
    /// What the nodes are; asked again after a new set-up, and now and then while one is missing.
    Infos infos();
    host::Reading read();
    /// The changes of the nodes, followed from the first call on.
    std::shared_ptr<Feed> feed();
    /// The changes that are kept behind number `after`; those up to it are forgotten.
    std::vector<Feed::Row> changes(std::int64_t after);

    /// Keeps a write until the transaction is committed. Throws what names the node.
    void queueWrite(std::size_t node, const host::Value& value);
    /// Sends the writes that are kept, in their order.
    void sendWrites();
    std::size_t queuedWrites() const noexcept { return writes_.size(); }
    void forgetWrites(std::size_t from) { writes_.resize(std::min(from, writes_.size())); }
    void markSavepoint(int savepoint);
    void rollBackTo(int savepoint);
    /// @}

  private:
    struct QueuedWrite {
        std::string label;  ///< for messages
        std::shared_ptr<const host::Write> write;
    };

    template <typename Operation>
    auto named(Operation operation);

    std::string key() const;

    Database& database_;
    std::string schema_;
    std::string name_;
    TableOptions options_;
    std::shared_ptr<Holdings> holdings_;
    std::unique_ptr<host::PreparedRead> prepared_;
    Infos infos_;
    unsigned infosGeneration_ = 0;
    std::chrono::steady_clock::time_point infosRead_;
    std::vector<QueuedWrite> writes_;
    std::vector<std::size_t> savepoints_;  ///< number of writes at each
};

/// What the modules of one database connection share.
struct Database {
    sqlite3* handle = nullptr;
    std::vector<Table*> tables;
    std::map<std::string, std::shared_ptr<Holdings>> holdings;  ///< by schema, name and options
    /// The session of the last browse of a plant that is no table's.
    std::shared_ptr<Session> browsing;

    /// The table called NAME or SCHEMA.NAME, connected if it was not; null when there is none.
    Table* find(const std::string& name);
};

/// What a module is registered with: its part in the database connection's share.
using Share = std::shared_ptr<Database>;
inline Database& databaseOf(void* share) { return **static_cast<Share*>(share); }

extern const sqlite3_module tableModule;
extern const sqlite3_module browseModule;
extern const sqlite3_module changesModule;

}  // namespace nimb::sqlite
