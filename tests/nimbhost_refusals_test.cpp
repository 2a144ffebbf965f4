// What refuses an encrypted session, named by nimbhost's doctor.

#include <gtest/gtest.h>

#include "nimbhost_workplace.h"
#include "testbed/certificates.h"
#include "testbed/server_process.h"

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
    fs::path list = maker.revocationList(authority, "list", {revoked});
    fs::path otherList = maker.revocationList(otherAuthority, "other-list", {});
    fs::path lockedKey = maker.encryptedKey(client, "secret");
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
};

class RefusalTest : public testing::TestWithParam<Refusal> {
  protected:
    static std::string plantFile(const ServerProcess& server, const std::string& changed) {
        std::string text = changed;
        const std::string url = "url = " + server.url();
        for (const char* line : {url.c_str(), "mode = encrypt", "certificate = client.der",
                                 "key = client.key.pem", "trusted = trusted", "revoked = revoked",
                                 "timeout = 5s", "uri = urn:waterworks-north:nimb-client"}) {
            const std::string name = std::string(line).substr(0, std::string(line).find(' ') + 1);
            if (!holds('\n' + changed, '\n' + name)) text += std::string(line) + '\n';
        }
        return text;
    }
    static std::vector<std::string> serverOptions(const Workplace& place, const Refusal& refusal) {
        if (*refusal.server == '\0') return {};
        const std::string base = (office().maker.directory().path() / refusal.server).string();
        return {"--certificate",   base + ".der", "--key",
                base + ".key.pem", "--trust",     place.folder.path() / "clients"};
    }
};

TEST_P(RefusalTest, IsNamedByDoctor) {
    const Refusal& refusal = GetParam();
    const Workplace place;
    const auto prepared =
        place.run("set -e; O='" + office().maker.directory().path().string() +
                  "'; mkdir trusted revoked "
                  "clients; cp $O/client.der $O/client.key.pem .; chmod 600 *.key.pem; cp $O/" +
                  refusal.trusts + ".der clients; cp $O/server.der trusted\n" + refusal.prepare);
    ASSERT_EQ(prepared.status, 0) << prepared.err;
    const ServerProcess server(serverOptions(place, refusal));
    place.folder.write("p.conf", plantFile(server, refusal.plant));
    const auto doctor = place.run("NIMBOPCUA_PASSWORD=wrong nimbhost doctor -p p");
    EXPECT_EQ(doctor.status, 1);
    std::string session;  // the library's own refusal, behind what the files tell by themselves
    const std::size_t at = doctor.out.find("session ");
    if (at != std::string::npos) session = doctor.out.substr(at);
    EXPECT_TRUE(holds(session, refusal.says)) << doctor.out << doctor.err;
}

INSTANTIATE_TEST_SUITE_P(
    Manual, RefusalTest,
    testing::Values(
        Refusal{"Certificate", "rm client.der",
                "set-up refused: the certificate or the key at that"},
        Refusal{"TrustFolder", "rm -r trusted", "set-up refused: no such trust list folder"},
        Refusal{"TrustSubfolder", "mkdir trusted/sub",
                "set-up refused: something in the trust list folder is no readable file"},
        Refusal{"RevocationFolder", "rm -r revoked",
                "set-up refused: no such revocation list folder"},
        Refusal{"LockedKey", "cp $O/client.key.encrypted.pem client.key.pem; chmod 600 *.pem",
                "set-up refused: the key has a password, or is no key"},
        Refusal{"RubbishFile", "echo rubbish > trusted/readme.txt",
                "set-up refused: a file in one of the folders is no certificate"},
        Refusal{"Mode", "", "set-up refused: a mode other than 1 and 3", "server", "client",
                "mode = sign\n"},
        Refusal{"Untrusted", "rm trusted/*; cp $O/other.der trusted",
                "connect refused: the server's certificate is not in the trust list"},
        Refusal{"Chain", "cp $O/issued.der trusted",
                "connect refused: the certificate of the server's authority, or", "issued"},
        Refusal{"LateServer", "cp $O/late-server.der trusted",
                "connect refused: the server's certificate has expired", "late-server"},
        Refusal{"LateClient", "cp $O/late.der client.der; cp $O/late.key.pem client.key.pem",
                "connect refused: the server says this of our certificate", "server", "late"},
        Refusal{"Revoked", "cp $O/authority.der trusted; cp $O/list.der revoked",
                "connect refused: the server's certificate is revoked", "revoked"},
        Refusal{"OtherList", "cp $O/authority.der trusted; cp $O/other-list.der revoked",
                "connect refused: revocation lists are there, but none of", "issued"},
        Refusal{"NotTrustedThere", "", "connect refused: the server does not trust our certificate",
                "server", "other"},
        Refusal{"Uri", "", "connect refused: the application URI of the set-up is not", "server",
                "client", "uri = urn:another\n"},
        Refusal{"DamagedCertificate", "echo rubbish > client.der",
                "connect refused: our certificate or key is empty or damaged"},
        Refusal{"NoEncryption", "", "connect refused: the server offers no encryption", ""},
        Refusal{"EllipticKey",
                "cp $O/elliptic.der client.der; cp $O/elliptic.key.pem client.key.pem",
                "set-up refused: a key on an elliptic curve"},
        Refusal{"HostName", "cp $O/authority.der trusted",
                "connect refused: issued by a trusted authority, for another host", "elsewhere"},
        Refusal{"OldDigest", "cp $O/authority.der trusted", "connect refused: an old authority",
                "old"},
        Refusal{"KeyUsage", "cp $O/authority.der trusted",
                "connect refused: the key of the server's certificate is not RSA, or its key usage",
                "unfit"},
        Refusal{"Issuer", "", "connect refused: what issued the certificate may not issue any",
                "misissued"},
        Refusal{"Port", "", "connect refused: nothing listens on that port", "server", "client",
                "url = opc.tcp://127.0.0.1:1\n"},
        Refusal{"Url", "", "connect refused: the URL is not", "server", "client",
                "url = opc.tcp://\n"},
        Refusal{"Password", "", "connect refused: wrong user name or password", "server", "client",
                "user = operator\n"}),
    [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace nimb::test
