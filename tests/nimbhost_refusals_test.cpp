// What refuses an encrypted session, named by nimbhost's doctor.

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "lying_server.h"
#include "nimbhost_workplace.h"
#include "testbed/certificates.h"
#include "testbed/fault_proxy.h"
#include "testbed/server_process.h"
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

/// How a plant of the shell commands and files below is refused, and what doctor must say.
struct Refusal {
    const char* name;
    const char* prepare;  ///< shell commands in the plant's folder, with $O the office's
    const char* says;
    const char* server = "server";  ///< certificate of the server; empty: offers no encryption
    const char* trusts = "client";  ///< whom the server trusts
    const char* plant = "";         ///< lines of the plant file that differ
    void (*lie)(UA_ServerConfig&) = nullptr;  ///< told by a server in this process
};

void takeNobody(UA_ServerConfig& config) { config.maxSessions = 0; }
void showNoCertificate(UA_ServerConfig& config) { show(config, ""); }
void showAuthority(UA_ServerConfig& config) { show(config, readFile(office().authority.der())); }
void claimNoPolicy(UA_ServerConfig& config) {
    claim(config, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT, "");
}

const Refusal kRefusals[] = {
    {"Certificate", "rm client.der", "set-up refused: the certificate or the key at that"},
    {"TrustFolder", "rm -r trusted", "set-up refused: no such trust list folder"},
    {"TrustSubfolder", "mkdir trusted/sub",
     "set-up refused: something in the trust list folder is no readable file"},
    {"RevocationFolder", "rm -r revoked", "set-up refused: no such revocation list folder"},
    {"LockedKey", "cp $O/client.key.encrypted.pem client.key.pem; chmod 600 *.pem",
     "set-up refused: the key has a password, or is no key"},
    {"RubbishFile", "echo rubbish > trusted/readme.txt",
     "set-up refused: a file in one of the folders is no certificate"},
    {"Mode", "", "set-up refused: a mode other than 1 and 3", "server", "client", "mode = sign\n"},
    {"Untrusted", "rm trusted/*; cp $O/other.der trusted",
     "connect refused: the server's certificate is not in the trust list"},
    {"Chain", "cp $O/issued.der trusted",
     "connect refused: the certificate of the server's authority, or", "issued"},
    {"LateServer", "cp $O/late-server.der trusted",
     "connect refused: the server's certificate has expired", "late-server"},
    {"LateClient", "cp $O/late.der client.der; cp $O/late.key.pem client.key.pem",
     "connect refused: the server says this of our certificate", "server", "late"},
    {"Revoked", "cp $O/authority.der trusted; cp $O/list.der revoked",
     "connect refused: the server's certificate is revoked", "revoked"},
    {"OtherList", "cp $O/authority.der trusted; cp $O/other-list.der revoked",
     "connect refused: revocation lists are there, but none of the server's", "issued"},
    {"NotTrustedThere", "", "connect refused: the server does not trust our certificate", "server",
     "other"},
    {"Uri", "", "connect refused: the application URI of the set-up is not", "server", "client",
     "uri = urn:another\n"},
    {"DamagedCertificate", "echo rubbish > client.der",
     "connect refused: our certificate or key is empty or damaged"},
    {"NoEncryption", "", "connect refused: the server offers no encryption", ""},
    {"EllipticKey", "cp $O/elliptic.der client.der; cp $O/elliptic.key.pem client.key.pem",
     "set-up refused: a key on an elliptic curve"},
    {"HostName", "cp $O/authority.der trusted",
     "connect refused: issued by a trusted authority, for another host", "elsewhere"},
    {"OldDigest", "cp $O/authority.der trusted", "connect refused: an old authority", "old"},
    {"KeyUsage", "cp $O/authority.der trusted",
     "connect refused: the key of the server's certificate is not RSA, or its key usage", "unfit"},
    {"Issuer", "", "connect refused: what issued the certificate may not issue any", "misissued"},
    {"Port", "", "connect refused: nothing listens on that port", "server", "client",
     "url = opc.tcp://127.0.0.1:1\n"},
    {"Url", "", "connect refused: the URL is not", "server", "client", "url = opc.tcp://\n"},
    {"Password", "", "connect refused: wrong user name or password", "server", "client",
     "user = operator\n"},
    {"Sessions", "", "connect refused: hosts that were killed have left their sessions", "",
     "client", "mode = none\n", takeNobody},
    {"NoCertificate", "", "connect refused: the server shows no certificate, or a damaged one",
     "server", "client", "", showNoCertificate},
    {"NoPolicy", "",
     "connect refused: the server, or somebody between, offers encryption that is none", "",
     "client", "", claimNoPolicy},
    {"Twin", "cp $O/twin.der trusted", "connect refused: its signature is not its authority's",
     "issued"},
    {"Authority", "cp $O/authority.der trusted",
     "connect refused: the server uses the certificate of an authority as its own", "server",
     "client", "", showAuthority},
    {"ShortKey", "cp $O/short.der trusted",
     "connect refused: its key is shorter or longer than the policy allows", "short"},
    {"OtherUri", "cp $O/authority.der trusted",
     "connect refused: issued by a trusted authority, for another application", "moved"},
    {"LateAuthority", "cp $O/late-authority.der trusted",
     "connect refused: that of its authority has expired", "late-issued"},
    {"RevokedBetween", "cp $O/authority.der $O/between.der trusted; cp $O/*-list.der revoked",
     "connect refused: the certificate of an authority in between is revoked", "far"},
    {"NoListOfRoot", "cp $O/authority.der $O/between.der trusted; cp $O/between-list.der revoked",
     "connect refused: revocation lists are there, but none of the root", "far"},
    {"Silent", "", "connect refused: the peer does not answer in time", "server", "client",
     "url = $SILENT\ntimeout = 500ms\n"},
    {"Closing", "",
     "connect refused: the host name cannot be resolved; the peer accepts and closes", "server",
     "client", "url = $CLOSING\n"},
    {"LogIn", "", "connect refused: the server wants a user name, or offers nothing in the", "",
     "client", "mode = none\n"},
};

class RefusalTest : public testing::TestWithParam<Refusal> {
  protected:
    void serve() {
        const Refusal& refusal = GetParam();
        const Certificate own{office().maker.directory().path() / refusal.server};
        const bool encrypts = *refusal.server != '\0';
        if (refusal.lie == nullptr) {
            process_.emplace(encrypts ? std::vector<std::string>{"--certificate", own.der(),
                                                                 "--key", own.keyPem(), "--trust",
                                                                 place_.folder.path() / "clients"}
                                      : std::vector<std::string>{"--no-anonymous"});
            return;
        }
        plant::PlantOptions options;
        if (encrypts) {
            plant::Encryption encryption;
            encryption.certificate = readFile(own.der());
            encryption.privateKey = readFile(own.keyDer());
            options.encryption = std::make_shared<plant::Encryption>(encryption);
        }
        thread_.emplace(options);
        thread_->run([&](auto& plant) { refusal.lie(*UA_Server_getConfig(plant.server())); });
    }
    std::string plantFile() const {
        const std::string url = "url = " + (process_ ? process_->url() : thread_->url());
        std::string text = GetParam().plant;
        for (const char* line : {url.c_str(), "mode = encrypt", "certificate = client.der",
                                 "key = client.key.pem", "trusted = trusted", "revoked = revoked",
                                 "timeout = 5s", "uri = urn:waterworks-north:nimb-client"}) {
            const std::string name = std::string(line).substr(0, std::string(line).find(' ') + 1);
            if (!holds('\n' + text, '\n' + name)) text += std::string(line) + '\n';
        }
        return text;
    }

    Workplace place_;
    std::optional<ServerProcess> process_;
    std::optional<TestServer> thread_;
};

TEST_P(RefusalTest, IsNamedByDoctor) {
    const Refusal& refusal = GetParam();
    const std::string shell = "set -e; O='" + office().maker.directory().path().string() +
                              "'; SILENT=" + office().silent.url() +
                              "; CLOSING=" + office().closing.url() + '\n';
    const auto prepared =
        place_.run(shell +
                   "mkdir trusted revoked clients; cp $O/client.der $O/client.key.pem .; "
                   "chmod 600 *.key.pem; cp $O/" +
                   refusal.trusts + ".der clients; cp $O/server.der trusted\n" + refusal.prepare);
    ASSERT_EQ(prepared.status, 0) << prepared.err;
    serve();
    place_.run(shell + "cat > p.conf <<END\n" + plantFile() + "END");
    const auto doctor = place_.run("NIMBOPCUA_PASSWORD=wrong nimbhost doctor -p p");
    EXPECT_EQ(doctor.status, 1);
    std::string session;  // the library's own refusal, behind what the files tell by themselves
    const std::size_t at = doctor.out.find("session ");
    if (at != std::string::npos) session = doctor.out.substr(at);
    EXPECT_TRUE(holds(session, refusal.says)) << doctor.out << doctor.err;
    EXPECT_TRUE(holds(session, "-       not tried")) << doctor.out;
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
            kRefusals,
            [&](const std::string& says) {
                return cause.starts_with(says.substr(says.find(": ") + 2));
            },
            &Refusal::says);
        EXPECT_TRUE(provoked || holds(host, cause)) << cause;
    }
    EXPECT_GT(count, 35);
}

}  // namespace
}  // namespace nimb::test
