#pragma once

#include <open62541/server.h>

#include <vector>

#include "demo_server/stack_values.h"

namespace nimb::plant {

/// The activated sessions of one server, learned by standing in front of its access control (the
/// stack tells of sessions nowhere else). Not copyable: the server's configuration points here.
class SessionList {
  public:
    SessionList() = default;
    SessionList(const SessionList&) = delete;
    SessionList& operator=(const SessionList&) = delete;

    /// Watches the access control of `config`, which must be set up already. The list must outlive
    /// the server. Takes `config.context`.
    void watch(UA_ServerConfig& config);

    std::size_t size() const noexcept { return ids_.size(); }

    /// Closes all of them on `server`, whose configuration is being watched. Returns how many.
    std::size_t closeAll(UA_Server* server);

  private:
    static SessionList& of(UA_Server* server) noexcept;
    static UA_StatusCode onActivate(UA_Server* server, UA_AccessControl* control,
                                    const UA_EndpointDescription* endpoint,
                                    const UA_ByteString* clientCertificate,
                                    const UA_NodeId* session, const UA_ExtensionObject* token,
                                    void** context) noexcept;
    static void onClose(UA_Server* server, UA_AccessControl* control, const UA_NodeId* session,
                        void* context) noexcept;

    UA_StatusCode add(const UA_NodeId& session) noexcept;
    void remove(const UA_NodeId& session) noexcept;

    std::vector<OwnedNodeId> ids_;
    decltype(UA_AccessControl::activateSession) activate_ = nullptr;
    decltype(UA_AccessControl::closeSession) close_ = nullptr;
};

}  // namespace nimb::plant
