#include "demo_server/session_list.h"

#include <algorithm>
#include <string_view>

namespace nimb::plant {

namespace {

std::string_view textOf(const UA_String& text) noexcept {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

/// A log-in as the client sent it, with what could upset a terminal left out.
std::string userOf(const UA_ExtensionObject& token) {
    const auto* type = &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN];
    const bool decoded = token.encoding == UA_EXTENSIONOBJECT_DECODED ||
                         token.encoding == UA_EXTENSIONOBJECT_DECODED_NODELETE;
    if (!decoded || token.content.decoded.type != type) return "anonymous";
    const auto& login = *static_cast<const UA_UserNameIdentityToken*>(token.content.decoded.data);
    std::string user(textOf(login.userName).substr(0, 60));
    std::erase_if(user, [](char letter) { return letter < ' ' || letter > '~'; });
    return "user " + user;
}

/// "Basic256Sha256, sign and encrypt" or "None".
std::string protectionOf(const UA_EndpointDescription& endpoint) {
    const std::string_view uri = textOf(endpoint.securityPolicyUri);
    const std::string policy(uri.substr(uri.find('#') + 1));
    if (endpoint.securityMode == UA_MESSAGESECURITYMODE_NONE) return "in clear";
    return policy +
           (endpoint.securityMode == UA_MESSAGESECURITYMODE_SIGN ? ", sign" : ", sign and encrypt");
}

/// The sessions of a server are numbered in the tail of their ids, GUIDs all of them.
std::string nameOf(const UA_NodeId& session) {
    Owned<UA_String, UA_TYPES_STRING> text;
    UA_NodeId_print(&session, &*text);
    const std::string_view all = textOf(*text);
    return "session " + std::string(all.substr(all.size() - std::min<std::size_t>(all.size(), 6)));
}

}  // namespace

void SessionList::watch(UA_ServerConfig& config) {
    activate_ = std::exchange(config.accessControl.activateSession, onActivate);
    close_ = std::exchange(config.accessControl.closeSession, onClose);
    config.context = this;
}

std::size_t SessionList::closeAll(UA_Server* server) {
    // Closing calls `onClose`, which shrinks the list: walk a list of our own.
    std::vector<Session> closing = std::exchange(sessions_, {});
    for (const Session& session : closing) {
        say(session.who + " is dropped");
        UA_Server_closeSession(server, &*session.id);
    }
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
    if (status == UA_STATUSCODE_GOOD) return list.add(*session, *token, *endpoint);
    try {
        list.say("refused: " + userOf(*token) + ", " + protectionOf(*endpoint) + " (" +
                 UA_StatusCode_name(status) + ")");
    } catch (const std::bad_alloc&) {  // then it goes unsaid
    }
    return status;
}

void SessionList::onClose(UA_Server* server, UA_AccessControl* control, const UA_NodeId* session,
                          void* context) noexcept {
    SessionList& list = of(server);
    list.remove(*session);
    list.close_(server, control, session, context);
}

UA_StatusCode SessionList::add(const UA_NodeId& session, const UA_ExtensionObject& token,
                               const UA_EndpointDescription& endpoint) noexcept {
    try {
        // A session is activated again when it changes its channel.
        std::erase_if(sessions_,
                      [&](const Session& known) { return UA_NodeId_equal(&*known.id, &session); });
        Session added{{}, nameOf(session)};
        const UA_StatusCode status = UA_NodeId_copy(&session, &*added.id);
        if (status != UA_STATUSCODE_GOOD) return status;
        say(added.who + " opened: " + userOf(token) + ", " + protectionOf(endpoint));
        sessions_.push_back(std::move(added));
        return UA_STATUSCODE_GOOD;
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

void SessionList::remove(const UA_NodeId& session) noexcept {
    const auto found = std::ranges::find_if(
        sessions_, [&](const Session& known) { return UA_NodeId_equal(&*known.id, &session); });
    if (found == sessions_.end()) return;
    try {
        say(found->who + " closed");
    } catch (const std::bad_alloc&) {  // then it goes unsaid
    }
    sessions_.erase(found);
}

void SessionList::say(const std::string& line) const {
    if (say_) say_(line);
}

}  // namespace nimb::plant
