#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/feed.h"
#include "base/prepared_read.h"
#include "postgresql/core.h"

namespace nimb::postgresql {

/// The texts, a zero byte behind each.
std::string joined(const NimbNodes& texts);
/// Whether `all` is what joined() makes of the texts.
bool isJoined(std::string_view all, const NimbNodes& texts);

/// The nodes that the texts name. Throws BadNode.
std::vector<host::NodeId> nodesOf(const NimbNodes& texts);

/// Nodes of a table that are read again and again.
struct Request {
    Request(host::Connection& connection, std::uint32_t ofTable, const NimbNodes& nodes)
        : table(ofTable), texts(joined(nodes)), prepared(connection, nodesOf(nodes)) {}

    std::uint32_t table;
    std::string texts;  ///< that named the nodes
    host::PreparedRead prepared;
    host::Infos infos;  ///< read with the first reading
    bool stale = false;
};

/// The changes of a table's nodes.
struct Feed {
    std::string texts;  ///< that named the nodes
    host::Feed changes;
    bool doubted = false;  ///< the table may be gone
};

/// One session with a plant, and what was prepared on it. Objects that use it across calls share
/// in it: it may be given up meanwhile, by a server that is altered or dropped.
struct Session {
    Session(host::Library& library, host::Plant plant, const NimbSessionKey& madeFrom, int idle)
        : connection(library, std::move(plant)), key(madeFrom), idleClose(idle) {}

    host::Connection connection;
    host::NodeCatalogue catalogue{connection};
    std::vector<std::shared_ptr<Request>> requests;
    std::map<std::uint32_t, std::shared_ptr<Feed>> feeds;
    NimbSessionKey key;
    int idleClose;
    bool stale = false;
};

}  // namespace nimb::postgresql

/// What the other side of core.h holds: a session as long as the table of sessions has it.
struct NimbSession {
    std::shared_ptr<nimb::postgresql::Session> session;
};
