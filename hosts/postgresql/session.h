#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/follower.h"
#include "base/prepared_read.h"
#include "postgresql/core.h"

namespace nimb::postgresql {

using Infos = std::shared_ptr<const std::vector<host::NodeInfo>>;

/// Nodes of a table that are read again and again.
struct Request {
    Request(host::Connection& connection, std::vector<host::NodeId> nodes)
        : prepared(connection, std::move(nodes)) {}

    host::PreparedRead prepared;
    Infos infos;  ///< read with the first reading
    bool stale = false;
};

/// The changes of a table's nodes, kept until somebody says that they are safe.
///
/// Numbers rise over all tables of the process and, being begun at the time of day in microseconds,
/// over its restarts too: what was recorded before is always below what comes.
struct Feed {
    struct Row {
        std::int64_t number = 0;
        host::Change change;
    };

    Feed(host::Library& library, const host::Plant& plant, std::vector<host::NodeId> followed)
        : nodes(followed), follower(library, plant, std::move(followed)) {}

    std::vector<host::NodeId> nodes;
    Infos infos;
    host::Follower follower;
    std::deque<std::shared_ptr<const Row>> kept;
};

/// A table and the notations of its nodes, a zero byte behind each.
using RequestKey = std::pair<std::uint32_t, std::string>;

/// One session with a plant, and what was prepared on it. Objects that use it across calls share
/// in it: it may be given up meanwhile, by a server that is altered or dropped.
struct Session {
    Session(host::Library& library, host::Plant plant, const NimbSessionKey& madeFrom, int idle)
        : connection(library, std::move(plant)), key(madeFrom), idleClose(idle) {}

    host::Connection connection;
    host::NodeCatalogue catalogue{connection};
    std::map<RequestKey, std::shared_ptr<Request>> requests;
    std::map<std::uint32_t, std::shared_ptr<Feed>> feeds;
    NimbSessionKey key;
    int idleClose;
    bool stale = false;
};

/// The nodes that the texts name. Throws BadNode.
std::vector<host::NodeId> nodesOf(const NimbNodes& texts);

}  // namespace nimb::postgresql

/// What the other side of core.h holds: a session as long as the table of sessions has it.
struct NimbSession {
    std::shared_ptr<nimb::postgresql::Session> session;
};
