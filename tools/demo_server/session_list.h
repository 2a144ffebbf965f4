#pragma once

#include <open62541/server.h>

#include <functional>
#include <string>
#include <vector>

#include "demo_server/stack_values.h"

namespace nimb::plant {

/// The activated sessions of one server, learned by standing in front of its access control (the
/// stack tells of sessions nowhere else). Not copyable: the server's configuration points here.
class SessionList {
  public:
    using Say = std::function<void(const std::string&)>;

    /// Tells `say` in one line each who comes, who is refused and who goes; unless it is empty.
    explicit SessionList(Say say) : say_(std::move(say)) {}
    SessionList(const SessionList&) = delete;
    SessionList& operator=(const SessionList&) = delete;

    /// Watches the access control of `config`, which must be set up already. The list must outlive
    /// the server. Takes `config.context`.
    void watch(UA_ServerConfig& config);

    std::size_t size() const noexcept { return sessions_.size(); }

    /// Closes all of them on `server`, whose configuration is being watched. Returns how many.
    std::size_t closeAll(UA_Server* server);

  private:
    struct Session {
        OwnedNodeId id;
        std::string who;
    };

    static SessionList& of(UA_Server* server) noexcept;
    static UA_StatusCode onActivate(UA_Server* server, UA_AccessControl* control,
                                    const UA_EndpointDescription* endpoint,
                                    const UA_ByteString* clientCertificate,
                                    const UA_NodeId* session, const UA_ExtensionObject* token,
                                    void** context) noexcept;
    static void onClose(UA_Server* server, UA_AccessControl* control, const UA_NodeId* session,
                        void* context) noexcept;

    UA_StatusCode add(const UA_NodeId& session, const UA_ExtensionObject& token,
                      const UA_EndpointDescription& endpoint) noexcept;
    void remove(const UA_NodeId& session) noexcept;
    void say(const std::string& line) const;

    Say say_;
    std::vector<Session> sessions_;
    decltype(UA_AccessControl::activateSession) activate_ = nullptr;
    decltype(UA_AccessControl::closeSession) close_ = nullptr;
};

}  // namespace nimb::plant
