// What refuses an encrypted session, named by nimbhost's doctor.

#include <gtest/gtest.h>

#include <algorithm>

#include "lying_server.h"
#include "nimbhost_workplace.h"
#include "testbed/certificates.h"
#include "testbed/fault_proxy.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

/// The certificates of all refusals. Nothing is added later.
struct Office {
    CertificateMaker maker;
    Certificate client = maker.selfSigned("client", kClientUri);
    Certificate other = maker.selfSigned("other", kClientUri);
    Certificate late = maker.selfSigned("late", kClientUri, expired);
    Certificate server = maker.selfSigned("server", kServerUri);
    Certificate lateServer = maker.selfSigned("late-server", kServerUri, expired);
    Certificate authority = maker.authority("authority");
    Certificate otherAuthority = maker.authority("other-authority");
    Certificate issued = maker.issue(authority, "issued", kServerUri);
    Certificate revoked = maker.issue(authority, "revoked", kServerUri);
    Certificate elliptic =
        maker.selfSigned("elliptic", kClientUri, longValid, {.key = ellipticKey});
    Certificate elsewhere =
        maker.issue(authority, "elsewhere", kServerUri, longValid, {.hosts = "DNS:elsewhere"});
    Certificate old = maker.issue(authority, "old", kServerUri, longValid, {.digest = "sha1"});
    Certificate unfit =
        maker.issue(authority, "unfit", kServerUri, longValid, {.usage = "keyCertSign"});
    Certificate misissued = maker.issue(server, "misissued", kServerUri);
    Certificate moved = maker.issue(authority, "moved", std::string(kServerUri) + ":2");
    Certificate shortKey = maker.selfSigned("short", kServerUri, longValid, {.key = {"rsa:1024"}});
    Certificate lateAuthority = maker.authority("late-authority", expired);
    Certificate lateIssued = maker.issue(lateAuthority, "late-issued", kServerUri);
    Certificate between = maker.authority("between", longValid, &authority);
    Certificate far = maker.issue(between, "far", kServerUri);
    CertificateMaker forger;
    Certificate twin = forger.authority("authority");
    fs::path betweenList = maker.revocationList(between, "between-list", {});
    fs::path rootList = maker.revocationList(authority, "root-list", {between});
    fs::path list = maker.revocationList(authority, "list", {revoked});
    fs::path otherList = maker.revocationList(otherAuthority, "other-list", {});
    fs::path lockedKey = maker.encryptedKey(client, "secret");
    FaultProxy closing{1}, silent{1};  // as gateways without their servers

    Office() {
        fs::copy_file(twin.der(), maker.directory().path() / "twin.der");
        closing.set(Fault::cut);
        silent.set(Fault::freeze);
    }
};

Office& office() {
    static Office all;
    return all;
}

/// How a plant of the shell commands below is refused, and what doctor must say.
struct Refusal {
    const char* name;
    const char* prepare;  ///< done in the plant's folder, by the functions below; the office is $O
    const char* says;
    const char* server = "server";  ///< certificate of the server; empty: in clear, for log-ins
    const char* trusts = "client";  ///< whom the server trusts
    void (*lie)(UA_ServerConfig&) = nullptr;
};

void takeNobody(UA_ServerConfig& config) { config.maxSessions = 0; }
void showNoCertificate(UA_ServerConfig& config) { show(config, ""); }
void showAuthority(UA_ServerConfig& config) { show(config, readFile(office().authority.der())); }
void claimNoPolicy(UA_ServerConfig& config) {
    claim(config, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "");
}

const Refusal kRefusals[] = {
    {"Certificate", "rm client.der", "the certificate or the key at that"},
    {"TrustFolder", "rm -r trusted", "no such trust list folder"},
    {"TrustSubfolder", "mkdir trusted/sub",
     "something in the trust list folder is no readable file"},
    {"RevocationFolder", "rm -r revoked", "no such revocation list folder"},
    {"LockedKey", "cp $O/client.key.encrypted.pem client.key.pem; chmod 600 *.pem",
     "the key has a password, or is no key"},
    {"RubbishFile", "echo rubbish > trusted/readme.txt",
     "a file in one of the folders is no certificate"},
    {"Mode", "change mode sign", "a mode other than 1 and 3"},
    {"Untrusted", "rm trusted/*; trust other", "the server's certificate is not in the trust list"},
    {"Chain", "trust issued", "the certificate of the server's authority, or", "issued"},
    {"LateServer", "trust late-server", "the server's certificate has expired", "late-server"},
    {"LateClient", "own late", "the server says this of our certificate", "server", "late"},
    {"Revoked", "trust authority; revoke list", "the server's certificate is revoked", "revoked"},
    {"OtherList", "trust authority; revoke other-list",
     "revocation lists are there, but none of the server's", "issued"},
    {"NotTrustedThere", "", "the server does not trust our certificate", "server", "other"},
    {"Uri", "change uri urn:another", "the application URI of the set-up is not"},
    {"DamagedCertificate", "echo rubbish > client.der",
     "our certificate or key is empty or damaged"},
    {"NoEncryption", "", "the server offers no encryption", ""},
    {"EllipticKey", "own elliptic", "a key on an elliptic curve"},
    {"HostName", "trust authority", "issued by a trusted authority, for another host", "elsewhere"},
    {"OldDigest", "trust authority", "an old authority", "old"},
    {"KeyUsage", "trust authority",
     "the key of the server's certificate is not RSA, or its key usage", "unfit"},
    {"Issuer", "", "what issued the certificate may not issue any", "misissued"},
    {"Port", "change url opc.tcp://127.0.0.1:1", "nothing listens on that port"},
    {"Url", "change url opc.tcp://", "the URL is not"},
    {"Password", "echo user = operator >> p.conf", "wrong user name or password"},
    {"Sessions", "", "hosts that were killed have left their sessions", "server", "client",
     takeNobody},
    {"NoCertificate", "", "the server shows no certificate, or a damaged one", "server", "client",
     showNoCertificate},
    {"NoPolicy", "", "the server, or somebody between, offers encryption that is none", "",
     "client", claimNoPolicy},
    {"Twin", "trust twin", "its signature is not its authority's", "issued"},
    {"Authority", "trust authority", "the server uses the certificate of an authority as its own",
     "server", "client", showAuthority},
    {"ShortKey", "trust short", "its key is shorter or longer than the policy allows", "short"},
    {"OtherUri", "trust authority", "issued by a trusted authority, for another application",
     "moved"},
    {"LateAuthority", "trust late-authority", "that of its authority has expired", "late-issued"},
    {"RevokedBetween", "trust authority between; revoke between-list; revoke root-list",
     "the certificate of an authority in between is revoked", "far"},
    {"NoListOfRoot", "trust authority between; revoke between-list",
     "revocation lists are there, but none of the root", "far"},
    {"Silent", "change url $SILENT; change timeout 500ms", "the peer does not answer in time"},
    {"Closing", "change url $CLOSING",
     "the host name cannot be resolved; the peer accepts and closes"},
    {"LogIn", "change mode none", "the server wants a user name, or offers nothing in the", ""},
};

plant::PlantOptions plantOf(const Refusal& refusal) {
    const fs::path folder = office().maker.directory().path();
    const Certificate own{folder / refusal.server};
    plant::PlantOptions options;
    const bool inClear = *refusal.server == '\0';
    options.allowAnonymous = !inClear || refusal.lie != nullptr;
    if (inClear) return options;
    plant::Encryption encryption;
    encryption.certificate = readFile(own.der());
    encryption.privateKey = readFile(own.keyDer());
    encryption.trusted = {readFile(Certificate{folder / refusal.trusts}.der())};
    options.encryption = std::make_shared<plant::Encryption>(encryption);
    return options;
}

class RefusalTest : public testing::TestWithParam<Refusal> {};

TEST_P(RefusalTest, IsNamedByDoctor) {
    const Refusal& refusal = GetParam();
    TestServer server(plantOf(refusal));
    if (refusal.lie != nullptr) {
        server.run([&](auto& plant) { refusal.lie(*UA_Server_getConfig(plant.server())); });
    }
    const Workplace place;
    place.folder.write("p.conf", "url = " + server.url() + R"(
mode = encrypt
certificate = client.der
key = client.key.pem
trusted = trusted
revoked = revoked
timeout = 5s
uri = urn:waterworks-north:nimb-client
)");
    const auto prepared =
        place.run("O='" + office().maker.directory().path().string() +
                  "' SILENT=" + office().silent.url() + " CLOSING=" + office().closing.url() + R"(
change() { sed -i "s,^$1 = .*,$1 = $2," p.conf; }
trust() { for i; do cp "$O/$i.der" trusted; done; }
revoke() { cp "$O/$1.der" revoked; }
own() { cp "$O/$1.der" client.der; cp "$O/$1.key.pem" client.key.pem; chmod 600 *.key.pem; }
set -e; mkdir trusted revoked; own client; trust server
)" + refusal.prepare);
    ASSERT_EQ(prepared.status, 0) << prepared.err;
    const auto doctor = place.run("NIMBOPCUA_PASSWORD=wrong nimbhost doctor -p p");
    EXPECT_EQ(doctor.status, 1);
    // The library's own refusal, behind what the files tell by themselves.
    EXPECT_TRUE(holds(doctor.out, std::string("refused: ") + refusal.says))
        << doctor.out << doctor.err;
    EXPECT_TRUE(holds(doctor.out, "-       not tried")) << doctor.out;
}

INSTANTIATE_TEST_SUITE_P(Manual, RefusalTest, testing::ValuesIn(kRefusals),
                         [](const auto& each) { return each.param.name; });

TEST(Refusals, OfTheManualAreAllProvoked) {
    const Workplace place;
    // The doctor always sets up before it connects: only a host's own calls come to these two.
    place.folder.write("host.nimb",
                       "zfCreateClientB\n! zfConnectB $handle, opc.tcp://127.0.0.1:1\n"
                       "! zfSetupClientC $handle, 3000, 2, \"\", \"\", \"\", \"\", \"\", 0\n"
                       "! zfConnectB $handle, opc.tcp://127.0.0.1:1\n");
    const auto host = place.run("nimbhost explain \"$(nimbhost run host.nimb)\"").out;
    const auto rows = place.run(
        "for i in set-up connect reach; do nimbhost explain --manual $i; done | "
        "sed -n '/ `/{s/ | [^|]* |$//; s/.* | //; s/[*`]//g; p}'");
    std::istringstream causes(rows.out);
    int count = 0;
    for (std::string cause; std::getline(causes, cause); ++count) {
        const bool provoked = std::ranges::any_of(
            kRefusals, [&](const auto& each) { return cause.starts_with(each.says); });
        EXPECT_TRUE(provoked || holds(host, cause)) << cause;
    }
    EXPECT_GT(count, 35);
}

}  // namespace
}  // namespace nimb::test
