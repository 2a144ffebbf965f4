#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/feed.h"
#include "base/prepared_read.h"
#include "postgresql/core.h"

namespace nimb::postgresql {

/// Nodes of a table that are read again and again.
struct Request {
    Request(host::Connection& connection, std::vector<host::NodeId> nodes)
        : prepared(connection, std::move(nodes)) {}

    host::PreparedRead prepared;
    host::Infos infos;  ///< read with the first reading
    bool stale = false;
};

/// The changes of a table's nodes, and the texts that named these.
struct Feed {
    std::string nodes;
    host::Feed changes;
    bool doubted = false;  ///< the table may be gone
};

/// A table and the texts that name its nodes.
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

/// The texts, a zero byte behind each.
std::string joined(const NimbNodes& texts);

/// The nodes that the texts name. Throws BadNode.
std::vector<host::NodeId> nodesOf(const NimbNodes& texts);

}  // namespace nimb::postgresql

/// What the other side of core.h holds: a session as long as the table of sessions has it.
struct NimbSession {
    std::shared_ptr<nimb::postgresql::Session> session;
};
