// The files of an encrypted session's own side: what comes of material that cannot be used.

#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>

#include "sessions_encrypted.h"

namespace nimb::test {
namespace {

using MaterialTest = SecurityTest;

/// Reads that a signal interrupts before the next one succeeds.
int interruptedReads = 0;

TEST_F(MaterialTest, MaterialThatCannotBeUsedIsRefusedAtSetUpOrConnect) {
    const std::string ok = "0";
    const std::string badKey = statusError(UA_STATUSCODE_BADSECURITYCHECKSFAILED);
    const auto badKind = [](const std::string& what) {
        return statusError(
            UA_STATUSCODE_BADSECURITYCHECKSFAILED,
            "The " + what + " is not RSA; make the client's key and certificate with RSA");
    };
    const std::string badList = statusError(UA_STATUSCODE_BADINTERNALERROR);
    const std::string reset = resetDue();
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
        statusError(UA_STATUSCODE_BADIDENTITYTOKENREJECTED, cannotConnect(server.url()));
    const std::string checksFailed =
        statusError(UA_STATUSCODE_BADSECURITYCHECKSFAILED, cannotConnect(server.url()));
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
         ok, statusError(UA_STATUSCODE_BADCERTIFICATETIMEINVALID, cannotConnect(server.url())),
         "Received an ERR response with StatusCode BadCertificateTimeInvalid"},
        {"rubbish in the trust list", encrypted("rubbish"), badList, reset,
         "Encrypted set-up refused: BadInternalError (1 trust list and 0 revocation list files)"},
        {"rubbish among the revocation lists", encrypted("server", "rubbish"), badList, reset,
         "Encrypted set-up refused: BadInternalError (1 trust list and 1 revocation list files)"},
        {"another application URI", otherUri, ok,
         statusError(UA_STATUSCODE_BADCERTIFICATEURIINVALID, cannotConnect(server.url())),
         "The configured ApplicationURI does not match the URI specified in the certificate"},
    };
    LogFolder log(*host_);
    for (const Case& c : cases) {
        log.begin();
        const long client = host_->bareClient();
        EXPECT_EQ(setUp(*host_, client, c.preparation).text(), c.setUpAnswer) << c.what;
        EXPECT_EQ(connect(client, server.url()), c.connectAnswer) << c.what;
        EXPECT_NE(log.text().find(c.logged), std::string::npos) << c.what;
        // Nothing is left behind that a right set-up would not replace.
        EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0") << c.what;
        EXPECT_EQ(connect(client, server.url()), "0") << c.what;
        host_->call("zfDestroyClientB", client);
    }
}

TEST_F(MaterialTest, AReadThatASignalInterruptsGoesOn) {
    const long client = host_->bareClient();
    interruptedReads = 3;
    EXPECT_EQ(setUp(*host_, client, encrypted()).text(), "0");
    EXPECT_EQ(interruptedReads, 0);
    host_->call("zfDestroyClientB", client);
}

TEST_F(MaterialTest, FilesThatCannotBeReadAreNamedByTextAndPath) {
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
    const long client = host_->bareClient();
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
        EXPECT_EQ(connect(client, "opc.tcp://127.0.0.1:1"), resetDue());
    }
    host_->call("zfDestroyClientB", client);
}

TEST_F(MaterialTest, PasswordsReachTheServerButNeverTheLog) {
    TestServer server(secured(office_->server));
    TestServer clear;
    LogFolder log(*host_);
    log.begin();
    const long client = host_->bareClient();
    for (const bool encrypt : {true, false}) {
        const std::string url = encrypt ? server.url() : clear.url();
        EXPECT_TRUE(setUp(*host_, client, encrypt ? encrypted() : Preparation()).ok());
        EXPECT_EQ(host_->call("zfConnectUser", client, url, "operator", "wrong-77").text(),
                  statusError(UA_STATUSCODE_BADUSERACCESSDENIED, cannotConnect(url)));
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

/// Stands before the function of the same name, for the library too.
[[gnu::visibility("default")]] ssize_t read(int descriptor, void* bytes, std::size_t size) {
    if (nimb::test::interruptedReads > 0) {
        --nimb::test::interruptedReads;
        errno = EINTR;
        return -1;
    }
    return syscall(SYS_read, descriptor, bytes, size);
}
