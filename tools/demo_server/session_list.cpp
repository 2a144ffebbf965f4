#include "demo_server/session_list.h"

#include <algorithm>

namespace nimb::plant {

void SessionList::watch(UA_ServerConfig& config) {
    activate_ = std::exchange(config.accessControl.activateSession, onActivate);
    close_ = std::exchange(config.accessControl.closeSession, onClose);
    config.context = this;
}

std::size_t SessionList::closeAll(UA_Server* server) {
    // Closing calls `onClose`, which shrinks the list: walk a list of our own.
    std::vector<OwnedNodeId> closing = std::exchange(ids_, {});
    for (const OwnedNodeId& id : closing) UA_Server_closeSession(server, &*id);
    return closing.size();
}

SessionList& SessionList::of(UA_Server* server) noexcept {
    return *static_cast<SessionList*>(UA_Server_getConfig(server)->context);
}

UA_StatusCode SessionList::onActivate(UA_Server* server, UA_AccessControl* control,
                                      const UA_EndpointDescription* endpoint,
                                      const UA_ByteString* clientCertificate,
                                      const UA_NodeId* session, const UA_ExtensionObject* token,
                                      void** context) noexcept {
    SessionList& list = of(server);
    const UA_StatusCode status =
        list.activate_(server, control, endpoint, clientCertificate, session, token, context);
    return status == UA_STATUSCODE_GOOD ? list.add(*session) : status;
}

void SessionList::onClose(UA_Server* server, UA_AccessControl* control, const UA_NodeId* session,
                          void* context) noexcept {
    SessionList& list = of(server);
    list.remove(*session);
    list.close_(server, control, session, context);
}

UA_StatusCode SessionList::add(const UA_NodeId& session) noexcept {
    try {
        remove(session);  // a session is activated again when it changes its channel
        OwnedNodeId id;
        const UA_StatusCode status = UA_NodeId_copy(&session, &*id);
        if (status == UA_STATUSCODE_GOOD) ids_.push_back(std::move(id));
        return status;
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

void SessionList::remove(const UA_NodeId& session) noexcept {
    std::erase_if(ids_,
                  [&session](const OwnedNodeId& id) { return UA_NodeId_equal(&*id, &session); });
}

}  // namespace nimb::plant
