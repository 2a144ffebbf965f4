#pragma once

#include <open62541/server.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "demo_server/signals.h"

namespace nimb::plant {

struct Login {
    std::string user;
    std::string password;
};

/// What a server needs for encrypted channels. Certificates and lists are DER or PEM bytes, the key
/// is unencrypted.
struct Encryption {
    std::string certificate;
    std::string privateKey;
    std::vector<std::string> trusted;  ///< client certificates and issuers; empty: any client
    std::vector<std::string> issuers;  ///< issuers that complete a chain without being trusted
    std::vector<std::string> revoked;  ///< revocation lists
    /// Decides on clients in place of the lists; must outlive the server.
    UA_CertificateVerification* clients = nullptr;
    /// Keep the endpoint without security as well; without it such a channel is for discovery.
    bool offerUnencrypted = true;
};

struct PlantOptions {
    std::uint16_t port = 0;  ///< 0: the system picks a free one
    bool verbose = false;    ///< server messages to stderr; none otherwise
    std::string applicationUri = "urn:nimbopcua:plant-server";  ///< as in the certificate

    bool allowAnonymous = true;
    std::vector<Login> logins = {{"operator", "plant-7"}};
    /// Accept passwords in clear on channels without encryption, and say so in the token policies.
    bool allowClearPasswords = true;
    std::shared_ptr<const Encryption> encryption;  ///< none: only the endpoint without security

    std::uint32_t manyChildren = 300;  ///< children of the Many folder
    std::uint32_t bulkPoints = 200;    ///< measuring points of the Bulk folder
    /// Moves the tanks and the pump on at this interval; zero: they hold still.
    std::chrono::milliseconds moveEvery{0};
    /// Adds 1 to the first `changingPoints` measuring points at this interval; zero: never.
    std::chrono::milliseconds changeEvery{0};
    std::uint32_t changingPoints = 0;
    /// References returned per node and browse before a continuation point is due; 0: all.
    std::uint32_t maxReferencesPerNode = 0;
    /// Longest that a channel lives without being renewed, and a session without a request; what
    /// clients ask for is revised to it. Zero: the stack's 10 minutes and 1 hour.
    std::chrono::milliseconds channelLifetime{0};
    std::chrono::milliseconds sessionTimeout{0};
    std::vector<Signal> signals;  ///< variables of the Signals folder

    /// Told in one line each of sessions and subscriptions that come and go; empty: nobody is told.
    std::function<void(const std::string&)> say;
};

class SessionList;
class SubscriptionWatch;

/// The demonstration plant: an OPC UA server on the loopback interface. It has no thread; all its
/// work is done inside `iterate`.
class PlantServer {
  public:
    /// Builds the address space and listens. Throws std::runtime_error when the port is taken or
    /// the options do not fit together.
    explicit PlantServer(const PlantOptions& options);
    ~PlantServer();
    PlantServer(const PlantServer&) = delete;
    PlantServer& operator=(const PlantServer&) = delete;

    /// Serves whatever is due, waiting at most `maxWait` for something to come.
    void iterate(std::chrono::milliseconds maxWait);

    /// Address to connect to, with the port really in use: "opc.tcp://127.0.0.1:PORT".
    const std::string& url() const noexcept { return url_; }
    std::uint16_t port() const noexcept { return port_; }

    UA_Server* server() const noexcept { return server_.get(); }

    /// Sessions that are activated now.
    std::size_t sessionCount() const noexcept;

    /// Closes every session with its subscriptions; their channels stay open. Returns how many.
    std::size_t closeSessions();

  private:
    struct Deleter {
        void operator()(UA_Server* server) const noexcept;
    };

    void addNodes(const PlantOptions& options);
    void startTimers(const PlantOptions& options);
    /// Calls `callback` with this object as its data, inside `iterate`.
    void repeat(UA_ServerCallback callback, std::chrono::milliseconds interval);
    void listen();

    // `server_` points to all of these: keep it the shortest one.
    std::vector<Signal> signals_;
    std::unique_ptr<SessionList> sessions_;
    std::unique_ptr<SubscriptionWatch> subscriptions_;
    std::unique_ptr<UA_Server, Deleter> server_;
    std::string url_;
    std::uint16_t port_ = 0;
    std::uint32_t step_ = 0;
    std::uint32_t changes_ = 0;
    std::uint32_t changingPoints_ = 0;
};

}  // namespace nimb::plant
