// Encrypted sessions against servers with certificates of all kinds, and what comes of material
// that cannot be used.

#include <dlfcn.h>
#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/plugin/securitypolicy.h>
#include <open62541/server.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <optional>

#include "sessions_support.h"
#include "support/certificates.h"

namespace nimb::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* serverUri = "urn:nimbopcua:plant-server";

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

/// Reads that a signal interrupts before the next one succeeds.
int interruptedReads = 0;

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

// The endpoints of other policies are withdrawn.
void offerOnly(TestServer& server, const std::string& policy) {
    server.run([&](plant::PlantServer& plant) {
        UA_ServerConfig* config = UA_Server_getConfig(plant.server());
        std::size_t kept = 0;
        for (std::size_t i = 0; i < config->endpointsSize; ++i) {
            UA_EndpointDescription& endpoint = config->endpoints[i];
            const UA_String& uri = endpoint.securityPolicyUri;
            if (std::string(uri.data, uri.data + uri.length).ends_with("#" + policy)) {
                std::swap(config->endpoints[kept++], endpoint);
            }
        }
        for (std::size_t i = kept; i < config->endpointsSize; ++i) {
            UA_EndpointDescription_clear(&config->endpoints[i]);
        }
        config->endpointsSize = kept;
    });
}

UA_StatusCode (*signOriginal)(void*, const UA_ByteString*, UA_ByteString*) = nullptr;

/// Breaks the type of a response to ActivateSession before it is signed and encrypted.
UA_StatusCode signBroken(void* channel, const UA_ByteString* message, UA_ByteString* signature) {
    constexpr std::size_t body = 24;
    constexpr UA_UInt16 activateSessionResponse = 470;
    UA_UInt16 type = 0;
    std::memcpy(&type, message->data + body + 2, sizeof type);
    if (type == activateSessionResponse) message->data[body] = 0xFF;
    return signOriginal(channel, message, signature);
}

// Such a server is known and trusted, but not to be trusted with the process.
TEST_F(SecurityTest, AnEncryptedResponseWhoseTypeCannotBeDecodedIsRefused) {
    TestServer server(secured(office_->server));
    offerOnly(server, "Basic256Sha256");
    server.run([](plant::PlantServer& plant) {
        UA_ServerConfig* config = UA_Server_getConfig(plant.server());
        for (std::size_t i = 0; i < config->securityPoliciesSize; ++i) {
            UA_SecurityPolicy& policy = config->securityPolicies[i];
            auto& sign = policy.symmetricModule.cryptoModule.signatureAlgorithm.sign;
            const std::string uri(policy.policyUri.data,
                                  policy.policyUri.data + policy.policyUri.length);
            if (uri.ends_with("#Basic256Sha256")) {
                signOriginal = std::exchange(sign, signBroken);
            }
        }
    });
    LogFolder log(*host_);
    log.begin();
    const long client = newClientObject(*host_);
    EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0");
    EXPECT_NE(connect(client, server.url()), "0");
    EXPECT_TRUE(
        log.has("Connection closed, the server sent", "a response whose type cannot be decoded"));
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, EveryPolicyWorksWithFilesOfEitherForm) {
    struct Case {
        const char* policy;
        fs::path certificate, key;
    };
    const Certificate& own = office_->client;
    const Case cases[] = {
        {"Basic256Sha256", own.der(), own.keyDer()},
        {"Basic256Sha256", own.pem(), own.keyPem()},
        {"Aes128_Sha256_RsaOaep", own.pem(), own.keyDer()},
        {"Aes256_Sha256_RsaPss", own.der(), own.keyPem()},
    };
    LogFolder log(*host_);
    const long client = newClientObject(*host_);
    for (const Case& c : cases) {
        TestServer server(secured(office_->server));
        offerOnly(server, c.policy);
        log.begin();
        Preparation preparation = encrypted();
        preparation.certificate = c.certificate;
        preparation.key = c.key;
        EXPECT_EQ(setUp(*host_, client, preparation).text(), "0");
        EXPECT_EQ(connect(client, server.url()), "0") << c.policy;
        EXPECT_TRUE(connected(client)) << c.policy;
        EXPECT_TRUE(log.has("info/channel\t",
                            "SecureChannel opened with SecurityPolicy http://"
                            "opcfoundation.org/UA/SecurityPolicy#" +
                                std::string(c.policy)));
    }
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, AServerIsAcceptedOrRefusedByItsCertificate) {
    struct Case {
        const Certificate& server;
        const char* trusted;
        const char* revoked;
        unsigned refusal;  ///< 0 for none
        std::string logged = "its certificate is for URI:urn:nimbopcua:plant-server, DNS:localhost";
    };
    const std::string otherHost = "DNS:other.example, not for the URL's host 127.0.0.1";
    const std::string none;
    const Case cases[] = {
        {office_->server, "server", "none", 0, none},
        {office_->server, "hidden", "revocations", 0, none},
        {office_->issuedServer, "authority", "revocations", 0, none},
        {office_->server, "expired", "none", UA_STATUSCODE_BADCERTIFICATEUNTRUSTED},
        {office_->server, "none", "none", UA_STATUSCODE_BADCERTIFICATEUNTRUSTED},
        {office_->expiredServer, "expired", "none", UA_STATUSCODE_BADCERTIFICATETIMEINVALID},
        {office_->issuedServer, "leaf", "none", UA_STATUSCODE_BADCERTIFICATECHAININCOMPLETE},
        {office_->revokedServer, "authority", "revocations", UA_STATUSCODE_BADCERTIFICATEREVOKED},
        {office_->otherHost, "authority", "none", UA_STATUSCODE_BADCERTIFICATEHOSTNAMEINVALID,
         otherHost},
        {office_->otherHost, "both", "none", 0, otherHost},
        {office_->otherUri, "authority", "none", UA_STATUSCODE_BADCERTIFICATEURIINVALID,
         "URI:urn:nimbopcua:plant-server:2, DNS:localhost, not for its endpoint's application "
         "urn:nimbopcua:plant-server"},
        {office_->otherUse, "authority", "none", UA_STATUSCODE_BADCERTIFICATEUSENOTALLOWED,
         "the key usage of its certificate does not allow a server"},
        {office_->sha1Server, "authority", "none", UA_STATUSCODE_BADCERTIFICATEPOLICYCHECKFAILED,
         "its certificate is not signed with SHA-2"},
    };
    LogFolder log(*host_);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.server.base.filename().string() + " " + c.trusted + " " + c.revoked);
        TestServer server(secured(c.server));
        log.begin();
        const long client = newClientObject(*host_);
        EXPECT_EQ(setUp(*host_, client, encrypted(c.trusted, c.revoked)).text(), "0");
        const std::string answer = connect(client, server.url());
        if (c.refusal == 0) {
            EXPECT_EQ(answer, "0");
            EXPECT_TRUE(connected(client));
            EXPECT_EQ(log.has("warn/client\t", "its own certificate is trusted, but"),
                      !c.logged.empty());
        } else {
            EXPECT_EQ(answer, refused(c.refusal, cannotConnect(server.url())));
            EXPECT_TRUE(log.has("error/client\t", "Server refused with " +
                                                      std::string(UA_StatusCode_name(c.refusal))));
            EXPECT_EQ(server.sessionCount(), 0U);
        }
        EXPECT_NE(log.text().find(c.logged), std::string::npos) << log.text();
        host_->call("zfDestroyClientB", client);
    }
}

// What follows is done to the server's configuration while it runs.

void claim(UA_ServerConfig& config, UA_MessageSecurityMode mode, const char* policy) {
    UA_EndpointDescription& endpoint = config.endpoints[0];
    endpoint.securityMode = mode;
    UA_String_clear(&endpoint.securityPolicyUri);
    endpoint.securityPolicyUri = UA_String_fromChars(policy);
}

void show(UA_ServerConfig& config, const std::string& certificate) {
    for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
        UA_ByteString& own = config.securityPolicies[i].localCertificate;
        UA_ByteString_clear(&own);
        UA_ByteString_allocBuffer(&own, certificate.size());
        std::copy(certificate.begin(), certificate.end(), own.data);
    }
}

/// A server that shows its certificate in the endpoints and the session, but leaves it out of the
/// channel's opening.
struct HiddenCertificate {
    static inline UA_SecurityPolicy* policy = nullptr;
    static inline UA_SecurityPolicy honest;

    static UA_StatusCode open(const UA_SecurityPolicy* p, const UA_ByteString* remote, void** c) {
        policy->localCertificate.length = 0;
        return honest.channelModule.newContext(p, remote, c);
    }
    static UA_StatusCode key(void* c, const UA_ByteString* secret, const UA_ByteString* seed,
                             UA_ByteString* out) {
        policy->localCertificate = honest.localCertificate;
        return honest.symmetricModule.generateKey(c, secret, seed, out);
    }
    static void install(UA_ServerConfig& config) {
        for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
            policy = &config.securityPolicies[i];
            const UA_String& uri = policy->policyUri;
            if (std::string(uri.data, uri.data + uri.length).ends_with("#Basic256Sha256")) break;
        }
        honest = *policy;
        policy->channelModule.newContext = open;
        policy->symmetricModule.generateKey = key;
    }
};

TEST_F(SecurityTest, AServerThatLiesIsRefusedBeforeTheStackBelievesIt) {
    const char* none = "http://opcfoundation.org/UA/SecurityPolicy#None";
    const auto sign = UA_MESSAGESECURITYMODE_SIGN;
    const auto both = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
    const auto noEndpoint = UA_STATUSCODE_BADIDENTITYTOKENREJECTED;
    const std::string elliptic = readFile(office_->ellipticServer.der());
    const std::string rsa = readFile(office_->server.der());
    const std::string pem = readFile(office_->ellipticServer.pem());
    struct Case {
        const char* what;
        std::function<void(UA_ServerConfig&)> lie;
        unsigned plain;      ///< the refusal of a plain set-up
        unsigned encrypted;  ///< and of an encrypted one that trusts another server
    };
    const Case cases[] = {
        {"Sign, None", [&](auto& c) { claim(c, sign, none); }, noEndpoint, noEndpoint},
        {"Sign, no policy", [&](auto& c) { claim(c, sign, ""); }, noEndpoint, noEndpoint},
        {"SignAndEncrypt, None", [&](auto& c) { claim(c, both, none); }, noEndpoint,
         UA_STATUSCODE_BADSECURITYPOLICYREJECTED},
        {"SignAndEncrypt, no policy", [&](auto& c) { claim(c, both, ""); }, noEndpoint,
         UA_STATUSCODE_BADSECURITYPOLICYREJECTED},
        {"an elliptic key", [&](auto& c) { show(c, elliptic); }, 0,
         UA_STATUSCODE_BADCERTIFICATEUSENOTALLOWED},
        {"PEM", [&](auto& c) { show(c, pem + '\0'); }, 0, UA_STATUSCODE_BADCERTIFICATEINVALID},
        {"no certificate", [&](auto& c) { show(c, ""); }, 0, UA_STATUSCODE_BADCERTIFICATEINVALID},
        {"half of one", [&](auto& c) { show(c, rsa.substr(0, rsa.size() / 2)); }, 0,
         UA_STATUSCODE_BADCERTIFICATEINVALID},
        {"hidden in the channel", HiddenCertificate::install, 0,
         UA_STATUSCODE_BADCERTIFICATEUNTRUSTED},
    };
    for (const Case& c : cases) {
        for (const bool encrypt : {false, true}) {
            SCOPED_TRACE(std::string(c.what) + (encrypt ? " encrypted" : " plain"));
            TestServer server(c.plain != 0 ? plant::PlantOptions() : secured(office_->server));
            if (c.plain == 0) offerOnly(server, encrypt ? "Basic256Sha256" : "None");
            server.run(
                [&](plant::PlantServer& plant) { c.lie(*UA_Server_getConfig(plant.server())); });
            const long client = newClientObject(*host_);
            EXPECT_EQ(setUp(*host_, client, encrypt ? encrypted("expired") : Preparation()).text(),
                      "0");
            const unsigned refusal = encrypt ? c.encrypted : c.plain;
            for (int attempt = 0; attempt < 2; ++attempt) {
                EXPECT_EQ(connect(client, server.url()),
                          refusal == 0 ? "0" : refused(refusal, cannotConnect(server.url())));
            }
            EXPECT_EQ(server.sessionCount(), refusal == 0 ? 1U : 0U);
            host_->call("zfDestroyClientB", client);
        }
    }
}

/// While it lives, set-ups do as open62541 does from 1.4.13 on: with two empty lists every server
/// is accepted.
struct NewerStack {
    static inline bool installed = false;
    NewerStack() { installed = true; }
    ~NewerStack() { installed = false; }
};

TEST_F(SecurityTest, TwoEmptyListsTrustNobodyWithANewerStackEither) {
    const NewerStack stack;
    TestServer server(secured(office_->server));
    const long client = newClientObject(*host_);
    EXPECT_EQ(setUp(*host_, client, encrypted("none")).text(), "0");
    EXPECT_EQ(connect(client, server.url()),
              refused(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, cannotConnect(server.url())));
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, TrustInOneServerIsNoneInTheNext) {
    TestServer trusted(secured(office_->server));
    plant::PlantOptions otherOptions = secured(office_->client);
    otherOptions.applicationUri = clientUri;
    TestServer other(otherOptions);
    TestServer clear;
    const long client = newClientObject(*host_);
    ASSERT_TRUE(setUp(*host_, client, encrypted()).ok());
    EXPECT_EQ(connect(client, trusted.url()), "0");
    EXPECT_EQ(connect(client, other.url()),
              refused(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, cannotConnect(other.url())));
    EXPECT_EQ(other.sessionCount(), 0U);
    EXPECT_EQ(connect(client, clear.url()),
              refused(UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                      cannotConnect(clear.url())));  // never without encryption
    EXPECT_EQ(clear.sessionCount(), 0U);
    EXPECT_EQ(connect(client, trusted.url()), "0");
    EXPECT_TRUE(connected(client));
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, MaterialThatCannotBeUsedIsRefusedAtSetUpOrConnect) {
    const std::string ok = "0";
    const std::string badKey = refused(UA_STATUSCODE_BADSECURITYCHECKSFAILED);
    const auto badKind = [](const std::string& what) {
        return refused(
            UA_STATUSCODE_BADSECURITYCHECKSFAILED,
            "The " + what + " is not RSA; make the client's key and certificate with RSA");
    };
    const std::string badList = refused(UA_STATUSCODE_BADINTERNALERROR);
    const std::string reset = failure(1, 9, "Info / No Error : Client reset required [c]");
    const Certificate& own = office_->client;
    const auto files = [](const fs::path& certificate, const fs::path& key) {
        Preparation p = encrypted();
        p.certificate = certificate;
        p.key = key;
        return p;
    };
    Preparation otherUri = encrypted();
    otherUri.uri = "urn:other";
    TestServer server(secured(office_->server));
    const std::string noEndpoint =
        refused(UA_STATUSCODE_BADIDENTITYTOKENREJECTED, cannotConnect(server.url()));
    const std::string checksFailed =
        refused(UA_STATUSCODE_BADSECURITYCHECKSFAILED, cannotConnect(server.url()));
    const std::string refusedKey = "The private key is encrypted or unreadable";
    const std::string policyLeftOut =
        "Could not add SecurityPolicy#Basic256Sha256 with error code ";
    struct Case {
        const char* what;
        Preparation preparation;
        std::string setUpAnswer, connectAnswer, logged;
    };
    const Case cases[] = {
        {"encrypted key", files(own.der(), office_->maker.encryptedKey(own, "sesame-66")), badKey,
         reset, refusedKey},
        {"garbage key", files(own.der(), write("text.key", "no key")), badKey, reset, refusedKey},
        {"key that begins like DER", files(own.der(), write("der", "\x30\x82 no key")), ok,
         noEndpoint, policyLeftOut + "BadSecurityChecksFailed"},
        {"elliptic key in PEM", files(own.der(), office_->ellipticServer.keyPem()),
         badKind("private key"), reset,
         "The private key is not RSA; make the client's key and certificate with RSA"},
        {"elliptic key in DER", files(own.der(), office_->ellipticServer.keyDer()),
         badKind("private key"), reset, "The private key is not RSA"},
        {"elliptic certificate", files(office_->ellipticServer.pem(), own.keyDer()),
         badKind("client certificate's key"), reset, "The client certificate's key is not RSA"},
        {"empty key", files(own.der(), write("empty", "")), ok, noEndpoint,
         "Can not initialize security policy. Private key is empty."},
        {"garbage certificate", files(write("text.der", "no certificate"), own.keyDer()), ok,
         noEndpoint, policyLeftOut + "BadInvalidArgument"},
        {"another's key", files(own.der(), office_->authority.keyDer()), ok, checksFailed,
         "Received an ERR response with StatusCode BadSecurityChecksFailed"},
        {"a client the server does not trust",
         files(office_->server.der(), office_->server.keyDer()), ok, checksFailed,
         "Received an ERR response with StatusCode BadSecurityChecksFailed"},
        {"an expired client", files(office_->expiredServer.der(), office_->expiredServer.keyDer()),
         ok, refused(UA_STATUSCODE_BADCERTIFICATETIMEINVALID, cannotConnect(server.url())),
         "Received an ERR response with StatusCode BadCertificateTimeInvalid"},
        {"rubbish in the trust list", encrypted("rubbish"), badList, reset,
         "Encrypted set-up refused: BadInternalError (1 trust list and 0 revocation list files)"},
        {"rubbish among the revocation lists", encrypted("server", "rubbish"), badList, reset,
         "Encrypted set-up refused: BadInternalError (1 trust list and 1 revocation list files)"},
        {"another application URI", otherUri, ok,
         refused(UA_STATUSCODE_BADCERTIFICATEURIINVALID, cannotConnect(server.url())),
         "The configured ApplicationURI does not match the URI specified in the certificate"},
    };
    LogFolder log(*host_);
    for (const Case& c : cases) {
        log.begin();
        const long client = newClientObject(*host_);
        EXPECT_EQ(setUp(*host_, client, c.preparation).text(), c.setUpAnswer) << c.what;
        EXPECT_EQ(connect(client, server.url()), c.connectAnswer) << c.what;
        EXPECT_NE(log.text().find(c.logged), std::string::npos) << c.what;
        // Nothing is left behind that a right set-up would not replace.
        EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0") << c.what;
        EXPECT_EQ(connect(client, server.url()), "0") << c.what;
        host_->call("zfDestroyClientB", client);
    }
}

TEST_F(SecurityTest, AReadThatASignalInterruptsGoesOn) {
    const long client = newClientObject(*host_);
    interruptedReads = 3;
    EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0");
    EXPECT_EQ(interruptedReads, 0);
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, FilesThatCannotBeReadAreNamedByTextAndPath) {
    const std::string directory = office_->folder("odd", {});
    fs::create_directory(directory + "/sub");
    const std::string pipes = office_->folder("pipes", {});
    ASSERT_EQ(mkfifo((pipes + "/pipe").c_str(), 0600), 0);
    const std::string good = office_->client.der();
    const auto padded = [](const std::string& folder, const std::string& name, std::size_t length) {
        return folder + std::string(length - folder.size() - name.size(), '/') + name;
    };
    const std::string longPath = padded(fs::path(good).parent_path(), "client.der", 999);
    const std::string longFolder = padded(folder("server"), "", 988);  // "server.der" makes it 998
    const std::string certificate = "File IO error reading client certificate file, '";
    const std::string entry = "File IO error reading trusted certificate file, '";
    struct Case {
        std::string Preparation::*item;
        std::string path;
        std::string text;  ///< empty: none
        std::string named;
    };
    const Case cases[] = {
        {&Preparation::certificate, "/no/file", certificate, "/no/file"},
        {&Preparation::certificate, "", certificate, ""},
        {&Preparation::certificate, directory, certificate, directory},
        {&Preparation::certificate, longPath, certificate, longPath},
        {&Preparation::certificate, padded(fs::path(good).parent_path(), "client.der", 998), "",
         ""},
        {&Preparation::key, "/no/key", certificate, "/no/key"},
        {&Preparation::trusted, "/no/folder",
         "File IO error opening trusted certificate (trust list) directory, '", "/no/folder"},
        {&Preparation::trusted, good,
         "File IO error opening trusted certificate (trust list) directory, '", good},
        {&Preparation::trusted, directory, entry, directory + "/sub"},
        {&Preparation::trusted, directory + "/", entry, directory + "/sub"},
        {&Preparation::trusted, pipes, entry, pipes + "/pipe"},
        {&Preparation::trusted, longFolder, "", ""},
        {&Preparation::trusted, longFolder + "/", entry, longFolder + "/server.der"},
        {&Preparation::revoked, "/no/folder", "File IO error opening revocation list directory, '",
         "/no/folder"},
        {&Preparation::revoked, directory,
         "File IO error reading certificate revocation list file, '", directory + "/sub"},
    };
    LogFolder log(*host_);
    const long client = newClientObject(*host_);
    for (const Case& c : cases) {
        log.begin();
        Preparation preparation = encrypted();
        preparation.*c.item = c.path;
        const std::string answer = setUp(*host_, client, preparation).text();
        if (c.text.empty()) {
            EXPECT_EQ(answer, "0") << c.path;
            continue;
        }
        const std::string text = c.text + c.named + "'";
        EXPECT_EQ(answer, applicationError(8, text.substr(0, 99)));
        EXPECT_NE(log.text().find(text.substr(0, 999)), std::string::npos) << text;
        EXPECT_EQ(connect(client, "opc.tcp://127.0.0.1:1"),
                  failure(1, 9, "Info / No Error : Client reset required [c]"));
    }
    host_->call("zfDestroyClientB", client);
}

TEST_F(SecurityTest, PasswordsReachTheServerButNeverTheLog) {
    TestServer server(secured(office_->server));
    TestServer clear;
    LogFolder log(*host_);
    log.begin();
    const long client = newClientObject(*host_);
    for (const bool encrypt : {true, false}) {
        const std::string url = encrypt ? server.url() : clear.url();
        EXPECT_TRUE(setUp(*host_, client, encrypt ? encrypted() : Preparation()).ok());
        EXPECT_EQ(host_->call("zfConnectUser", client, url, "operator", "wrong-77").text(),
                  refused(UA_STATUSCODE_BADUSERACCESSDENIED, cannotConnect(url)));
        EXPECT_EQ(host_->call("zfConnectUser", client, url, "operator", "plant-7").text(), "0");
        EXPECT_TRUE(connected(client));
    }
    Preparation withPassword = encrypted();
    withPassword.key = office_->maker.encryptedKey(office_->client, "sesame-66");
    EXPECT_FALSE(setUp(*host_, client, withPassword).ok());
    host_->call("zfDestroyClientB", client);
    EXPECT_TRUE(log.has("error/client\t",
                        "Session cannot be activated with StatusCode "
                        "BadUserAccessDenied"));
    for (const char* secret : {"wrong-77", "plant-7", "sesame-66", "PRIVATE KEY"}) {
        EXPECT_EQ(log.text().find(secret), std::string::npos) << secret;
    }
}

}  // namespace
}  // namespace nimb::test

// What follows stands before the functions of the same names, for the library too.

[[gnu::visibility("default")]] ssize_t read(int descriptor, void* bytes, std::size_t size) {
    if (nimb::test::interruptedReads > 0) {
        --nimb::test::interruptedReads;
        errno = EINTR;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}

UA_StatusCode UA_ClientConfig_setDefaultEncryption(UA_ClientConfig* config,
                                                   UA_ByteString certificate, UA_ByteString key,
                                                   const UA_ByteString* trusted,
                                                   std::size_t trustedSize,
                                                   const UA_ByteString* revoked,
                                                   std::size_t revokedSize) {
    const auto original = reinterpret_cast<decltype(&UA_ClientConfig_setDefaultEncryption)>(
        dlsym(RTLD_NEXT, "UA_ClientConfig_setDefaultEncryption"));
    const UA_StatusCode status =
        original(config, certificate, key, trusted, trustedSize, revoked, revokedSize);
    if (nimb::test::NewerStack::installed && trustedSize == 0 && revokedSize == 0) {
        UA_CertificateVerification_AcceptAll(&config->certificateVerification);
    }
    return status;
}
