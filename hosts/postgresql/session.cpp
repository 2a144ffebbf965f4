#include "postgresql/session.h"

#include <chrono>
#include <cstring>
#include <optional>

#include "postgresql/guard.h"

namespace nimb::postgresql {

namespace {

using SessionId = std::pair<std::uint32_t, std::uint32_t>;

/// All sessions of the backend. Never destroyed by itself: the process's end is nimb_end()'s.
struct Sessions {
    std::optional<host::Library> library;
    std::map<SessionId, NimbSession> open;
    /// Closed when the transaction has ended.
    std::vector<NimbSession> givenUp;
    std::vector<std::shared_ptr<Feed>> givenUpFeeds;
};

Sessions& sessions() {
    static auto* sessions = new Sessions;
    return *sessions;
}

std::string text(const char* chars) { return chars == nullptr ? "" : chars; }

host::Plant plantOf(const NimbPlant& from) {
    host::Plant plant;
    plant.url = text(from.url);
    plant.timeout = from.timeout;
    plant.certificate = text(from.certificate);
    plant.key = text(from.key);
    plant.trusted = text(from.trusted);
    plant.revoked = text(from.revoked);
    plant.uri = text(from.uri);
    if (from.username != nullptr) plant.username = from.username;
    plant.password = text(from.password);
    return plant;
}

NimbSession* find(const NimbSessionKey& key, const host::Plant& plant, int idleClose,
                  const char* library) {
    Sessions& all = sessions();
    if (!all.library) all.library.emplace(library);
    NimbSession& held = all.open[{key.server, key.mapping}];
    if (held.session && held.session->connection.plant() != plant) {
        all.givenUp.push_back(held);
        held.session.reset();
    }
    if (!held.session) {
        held.session = std::make_shared<Session>(*all.library, plant, key, idleClose);
    }
    held.session->stale = false;
    held.session->idleClose = idleClose;
    return &held;
}

bool wasIdle(const Session& session) {
    return session.idleClose >= 0 &&
           std::chrono::steady_clock::now() - session.connection.lastUse() >=
               std::chrono::seconds(session.idleClose);
}

template <typename Mark>
void forEachSession(Mark mark) {
    for (auto& [id, held] : sessions().open) {
        if (held.session) mark(*held.session);
    }
}

}  // namespace

std::string joined(const NimbNodes& texts) {
    std::string all;
    for (std::size_t i = 0; i < texts.count; ++i) (all += texts.texts[i]) += '\0';
    return all;
}

bool isJoined(std::string_view all, const NimbNodes& texts) {
    for (std::size_t i = 0; i < texts.count; ++i) {
        const std::string_view text(texts.texts[i], std::strlen(texts.texts[i]) + 1);
        if (!all.starts_with(text)) return false;
        all.remove_prefix(text.size());
    }
    return all.empty();
}

std::vector<host::NodeId> nodesOf(const NimbNodes& texts) {
    if (texts.is_list) {
        return host::parseNodes(texts.texts[0]);
    }
    std::vector<host::NodeId> nodes;
    nodes.reserve(texts.count);
    for (std::size_t i = 0; i < texts.count; ++i) nodes.push_back(host::parseNode(texts.texts[i]));
    return nodes;
}

}  // namespace nimb::postgresql

using namespace nimb::postgresql;

NimbSession* nimb_session(const NimbSessionKey* key, const NimbPlant* plant, const char* library,
                          NimbError* error) {
    return guarded(nullptr, error,
                   [&] { return find(*key, plantOf(*plant), plant->idle_close, library); });
}

void nimb_mark_server(std::uint32_t hash) {
    forEachSession([hash](Session& session) {
        session.stale = session.stale || hash == 0 || session.key.server_hash == hash;
    });
}

void nimb_mark_mapping(std::uint32_t hash) {
    forEachSession([hash](Session& session) {
        session.stale = session.stale || hash == 0 || session.key.mapping_hash == hash;
    });
}

void nimb_mark_table(std::uint32_t table) {
    forEachSession([table](Session& session) {
        for (const auto& request : session.requests) {
            request->stale = request->stale || table == 0 || request->table == table;
        }
        for (auto& [followed, feed] : session.feeds) {
            feed->doubted = feed->doubted || table == 0 || followed == table;
        }
    });
}

std::uint32_t nimb_doubted_table() {
    for (const auto& [id, held] : sessions().open) {
        if (!held.session) continue;
        for (const auto& [table, feed] : held.session->feeds) {
            if (std::exchange(feed->doubted, false)) return table;
        }
    }
    return 0;
}

bool nimb_unfollow(std::uint32_t table, NimbError* error) {
    return guarded(nullptr, error, [table] {
        forEachSession([table](Session& session) {
            const auto found = session.feeds.find(table);
            if (found == session.feeds.end()) return;
            sessions().givenUpFeeds.push_back(found->second);
            session.feeds.erase(found);
        });
        return true;
    });
}

void nimb_tidy() {
    Sessions& all = sessions();
    all.givenUp.clear();
    all.givenUpFeeds.clear();
    std::erase_if(all.open, [](const auto& entry) {
        return !entry.second.session || entry.second.session->stale;
    });
    forEachSession([](Session& session) {
        std::erase_if(session.requests, [](const auto& request) { return request->stale; });
        if (wasIdle(session)) session.connection.close();
    });
}

void nimb_end() {
    if (nimb::host::Library::callUnderWay()) {
        return;
    }
    sessions().givenUp.clear();
    sessions().givenUpFeeds.clear();
    sessions().open.clear();
}

int nimb_count_nodes(const char* text, NimbError* error) {
    const auto count = guarded(
        nullptr, error, [text] { return std::optional(nimb::host::parseNodes(text).size()); });
    return count ? static_cast<int>(*count) : -1;
}

bool nimb_check_node(const char* text, NimbError* error) {
    return guarded(nullptr, error, [text] {
        nimb::host::parseNode(text);
        return true;
    });
}
