#pragma once

#include <gtest/gtest.h>
#include <open62541/server.h>

#include <memory>
#include <optional>

#include "failures.h"
#include "sessions_support.h"
#include "testbed/certificates.h"
#include "testbed/test_server.h"

namespace nimb::test {

namespace fs = std::filesystem;

inline constexpr const char* serverUri = "urn:nimbopcua:plant-server";

/// The certificates and folders all cases are made of. Nothing is added later.
struct Office {
    CertificateMaker maker;
    Certificate client = maker.selfSigned("client", clientUri);
    Certificate server = maker.selfSigned("server", serverUri);
    Certificate expiredServer = maker.selfSigned("expired-server", serverUri, expired);
    Certificate authority = maker.authority("authority");
    Certificate issuedServer = maker.issue(authority, "issued-server", serverUri);
    Certificate revokedServer = maker.issue(authority, "revoked-server", serverUri);
    Certificate otherHost = issuedWith("other-host", {.hosts = "DNS:other.example"});
    Certificate otherUri = maker.issue(authority, "other-uri", std::string(serverUri) + ":2");
    Certificate otherUse = issuedWith("other-use", {.usage = "digitalSignature"});
    Certificate sha1Server = issuedWith("sha1", {.digest = "sha1"});
    Certificate ellipticServer =
        maker.selfSigned("elliptic", serverUri, longValid, {.key = ellipticKey});
    fs::path revocations = maker.revocationList(authority, "revocations", {revokedServer});
    TempDir folders;

    Certificate issuedWith(const std::string& name, const Traits& traits) {
        return maker.issue(authority, name, serverUri, longValid, traits);
    }
    /// A folder of copies.
    std::string folder(const std::string& name, const std::vector<fs::path>& files) const {
        fs::create_directories(folders.path() / name);
        for (const fs::path& file : files) {
            fs::copy_file(file, folders.path() / name / file.filename());
        }
        return folders.path() / name;
    }
};

/// Whether a policy's URI ends with that name.
inline bool isPolicy(const UA_String& uri, const std::string& name) {
    return std::string(uri.data, uri.data + uri.length).ends_with("#" + name);
}

/// The endpoints of other policies are withdrawn.
inline void offerOnly(TestServer& server, const std::string& policy) {
    server.run([&](plant::PlantServer& plant) {
        UA_ServerConfig* config = UA_Server_getConfig(plant.server());
        std::size_t kept = 0;
        for (std::size_t i = 0; i < config->endpointsSize; ++i) {
            UA_EndpointDescription& endpoint = config->endpoints[i];
            if (isPolicy(endpoint.securityPolicyUri, policy)) {
                std::swap(config->endpoints[kept++], endpoint);
            }
        }
        for (std::size_t i = kept; i < config->endpointsSize; ++i) {
            UA_EndpointDescription_clear(&config->endpoints[i]);
        }
        config->endpointsSize = kept;
    });
}

class SecurityTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        host_.emplace();
        office_ = new Office;
        office_->folder("none", {});
        office_->folder("server", {office_->server.der()});
        office_->folder("expired", {office_->expiredServer.pem()});
        office_->folder("authority", {office_->authority.der()});
        office_->folder("elliptic", {office_->ellipticServer.der()});
        office_->folder("both", {office_->authority.pem(), office_->otherHost.pem()});
        office_->folder("leaf", {office_->issuedServer.der()});
        office_->folder("revocations", {office_->revocations});
        office_->folder("hidden", {office_->server.der()});
        write("hidden/.rubbish", "rubbish");
        office_->folder("rubbish", {office_->folders.write("rubbish.der", "rubbish")});
    }
    static void TearDownTestSuite() {
        delete office_;
        host_.reset();
    }

    static plant::PlantOptions secured(const Certificate& certificate) {
        plant::PlantOptions options;
        auto encryption = std::make_shared<plant::Encryption>();
        encryption->certificate = readFile(certificate.der());
        encryption->privateKey = readFile(certificate.keyDer());
        encryption->trusted = {readFile(office_->client.der())};
        options.encryption = encryption;
        return options;
    }
    static std::string folder(const std::string& name) { return office_->folders.path() / name; }
    static Preparation encrypted(const std::string& trusted = "server",
                                 const std::string& revoked = "none") {
        return {3, office_->client.der(), office_->client.keyDer(), folder(trusted),
                folder(revoked)};
    }

    static std::string write(const std::string& name, const std::string& bytes) {
        return office_->folders.write(name, bytes);
    }
    static std::string connect(long client, const std::string& url) {
        return host_->call("zfConnectB", client, url).text();
    }
    static bool connected(long client) {
        return host_->call("zfGetClientStateD", client).text() == "0, 0, 1, 6, 4, 0" &&
               host_->call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13).ok();
    }

    static inline std::optional<Host> host_;
    static inline Office* office_ = nullptr;
};

}  // namespace nimb::test
