// Writing values: all that a statement writes is checked before the first is sent.

#include <optional>

#include "base/write.h"
#include "postgresql/cell.h"
#include "postgresql/guard.h"
#include "postgresql/session.h"

using namespace nimb::postgresql;
namespace host = nimb::host;

struct NimbWrites {
    std::shared_ptr<Session> session;
    std::vector<host::NodeId> nodes;
    std::vector<host::NodeInfo> infos;
    std::vector<std::optional<host::Write>> writes;
};

NimbWrites* nimb_writes(NimbSession* session, NimbNodes nodes, NimbError* error) {
    const std::size_t count = nodes.count;
    std::size_t at = count;  // which node is at fault
    NimbWrites* made = guarded(session->session.get(), error, [&] {
        auto writes = std::make_unique<NimbWrites>();
        writes->session = session->session;
        writes->nodes = nodesOf(nodes);
        writes->infos = writes->session->catalogue.describe(writes->nodes);
        writes->writes.resize(count);
        for (at = 0; at < count; ++at) {
            if (const char* reason = host::Write::obstacle(writes->infos[at])) {
                throw host::Refusal(reason);
            }
        }
        return writes.release();
    });
    if (made == nullptr && at < count) nameNode(*error, nodes.texts[at]);
    return made;
}

bool nimb_writes_set(NimbWrites* writes, std::size_t node, const NimbCell* value,
                     NimbError* error) {
    return guarded(nullptr, error, [&] {
        writes->writes.at(node).emplace(writes->nodes[node], writes->infos[node], valueOf(*value));
        return true;
    });
}

bool nimb_writes_send(NimbWrites* writes, std::size_t node, NimbError* error) {
    return guarded(writes->session.get(), error, [&] {
        writes->writes.at(node).value().send(writes->session->connection);
        return true;
    });
}

void nimb_writes_free(NimbWrites* writes) { delete writes; }
