// Encrypted sessions against servers with certificates of all kinds, and servers that lie.

#include <dlfcn.h>
#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>
#include <open62541/plugin/securitypolicy.h>

#include <cstring>

#include "lying_server.h"
#include "sessions_encrypted.h"

namespace nimb::test {
namespace {

using TrustTest = SecurityTest;

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

/// Such a server is known and trusted, but not to be trusted with the process.
TEST_F(TrustTest, AnEncryptedResponseWhoseTypeCannotBeDecodedIsRefused) {
    TestServer server(secured(office_->server));
    offerOnly(server, "Basic256Sha256");
    server.run([](plant::PlantServer& plant) {
        UA_ServerConfig* config = UA_Server_getConfig(plant.server());
        for (std::size_t i = 0; i < config->securityPoliciesSize; ++i) {
            UA_SecurityPolicy& policy = config->securityPolicies[i];
            auto& sign = policy.symmetricModule.cryptoModule.signatureAlgorithm.sign;
            if (isPolicy(policy.policyUri, "Basic256Sha256")) {
                signOriginal = std::exchange(sign, signBroken);
            }
        }
    });
    LogFolder log(*host_);
    log.begin();
    const long client = host_->bareClient();
    EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0");
    EXPECT_NE(connect(client, server.url()), "0");
    EXPECT_TRUE(
        log.has("Connection closed, the server sent", "a response whose type cannot be decoded"));
    host_->call("zfDestroyClientB", client);
}

TEST_F(TrustTest, EveryPolicyWorksWithFilesOfEitherForm) {
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
    const long client = host_->bareClient();
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

TEST_F(TrustTest, AServerIsAcceptedOrRefusedByItsCertificate) {
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
        const long client = host_->bareClient();
        EXPECT_EQ(setUp(*host_, client, encrypted(c.trusted, c.revoked)).text(), "0");
        const std::string answer = connect(client, server.url());
        if (c.refusal == 0) {
            EXPECT_EQ(answer, "0");
            EXPECT_TRUE(connected(client));
            EXPECT_EQ(log.has("warn/client\t", "its own certificate is trusted, but"),
                      !c.logged.empty());
        } else {
            EXPECT_EQ(answer, statusError(c.refusal, cannotConnect(server.url())));
            EXPECT_TRUE(log.has("error/client\t", "Server refused with " +
                                                      std::string(UA_StatusCode_name(c.refusal))));
            EXPECT_EQ(server.sessionCount(), 0U);
        }
        EXPECT_NE(log.text().find(c.logged), std::string::npos) << log.text();
        host_->call("zfDestroyClientB", client);
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
            if (isPolicy(policy->policyUri, "Basic256Sha256")) break;
        }
        honest = *policy;
        policy->channelModule.newContext = open;
        policy->symmetricModule.generateKey = key;
    }
};

TEST_F(TrustTest, AServerThatLiesIsRefusedBeforeTheStackBelievesIt) {
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
            const long client = host_->bareClient();
            EXPECT_EQ(setUp(*host_, client, encrypt ? encrypted("expired") : Preparation()).text(),
                      "0");
            const unsigned refusal = encrypt ? c.encrypted : c.plain;
            for (int attempt = 0; attempt < 2; ++attempt) {
                EXPECT_EQ(connect(client, server.url()),
                          refusal == 0 ? "0" : statusError(refusal, cannotConnect(server.url())));
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

TEST_F(TrustTest, TwoEmptyListsTrustNobodyWithANewerStackEither) {
    const NewerStack stack;
    TestServer server(secured(office_->server));
    const long client = host_->bareClient();
    EXPECT_EQ(setUp(*host_, client, encrypted("none")).text(), "0");
    EXPECT_EQ(connect(client, server.url()),
              statusError(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, cannotConnect(server.url())));
    host_->call("zfDestroyClientB", client);
}

TEST_F(TrustTest, TrustInOneServerIsNoneInTheNext) {
    TestServer trusted(secured(office_->server));
    plant::PlantOptions otherOptions = secured(office_->client);
    otherOptions.applicationUri = clientUri;
    TestServer other(otherOptions);
    TestServer clear;
    const long client = host_->bareClient();
    ASSERT_TRUE(setUp(*host_, client, encrypted()).ok());
    EXPECT_EQ(connect(client, trusted.url()), "0");
    EXPECT_EQ(connect(client, other.url()),
              statusError(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED, cannotConnect(other.url())));
    EXPECT_EQ(other.sessionCount(), 0U);
    EXPECT_EQ(connect(client, clear.url()),
              statusError(UA_STATUSCODE_BADIDENTITYTOKENREJECTED,
                          cannotConnect(clear.url())));  // never without encryption
    EXPECT_EQ(clear.sessionCount(), 0U);
    EXPECT_EQ(connect(client, trusted.url()), "0");
    EXPECT_TRUE(connected(client));
    host_->call("zfDestroyClientB", client);
}

}  // namespace
}  // namespace nimb::test

/// Stands before the function of the same name, for the library too.
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
