// nimbhost as people run it: a process of its own, in a folder of its own, against servers that are
// processes, too.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "testbed/certificates.h"
#include "testbed/server_process.h"
#include "testbed/temp_dir.h"
#include "testbed/test_server.h"
#include "testbed/wait_until.h"

namespace nimb::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServerUri = "urn:nimbopcua:plant-server";
constexpr const char* kClientUri = "urn:waterworks-north:nimb-client";

struct Outcome {
    int status = -1;
    std::string out, err;
};

/// A folder to run commands in, with nimbhost in the path.
class Workplace {
  public:
    Outcome run(const std::string& command) const {
        const std::string line = "cd '" + folder.path().string() + "' && PATH='" +
                                 fs::path(NIMB_HOST_PROGRAM).parent_path().string() +
                                 "':$PATH NIMBOPCUA_LIBRARY='" NIMB_LIBRARY_PATH
                                 "' && export PATH "
                                 "NIMBOPCUA_LIBRARY && { " +
                                 command + "\n} >.out 2>.err </dev/null";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile(folder.path() / ".out"), readFile(folder.path() / ".err")};
    }
    std::string file(const std::string& name) const { return readFile(folder.path() / name); }

    TempDir folder;
};

std::vector<nlohmann::json> jsonLines(const std::string& text) {
    std::vector<nlohmann::json> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(nlohmann::json::parse(line));
    return out;
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// ------------------------------------------------------------------------------------------------

TEST(Commands, MakeTrustAndUseAnEncryptedSessionFromNothing) {
    const Workplace place;
    const auto made = place.run("nimbhost cert new -p north --uri " + std::string(kClientUri) +
                                " --organization 'Waterworks, North'");
    ASSERT_EQ(made.status, 0) << made.err;
    const fs::path key = place.folder.path() / "own/client.key.pem";
    struct stat about {};
    ASSERT_EQ(::stat(key.c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0600U);
    const std::string before = place.file("own/client.key.pem");
    EXPECT_EQ(place.run("nimbhost cert new -p north --uri urn:x:y").status, 2);
    EXPECT_EQ(place.file("own/client.key.pem"), before) << "a key was overwritten";

    CertificateMaker maker;
    const Certificate certificate = maker.selfSigned("server", kServerUri);
    place.run("mkdir clients && cp own/client.der clients");
    const ServerProcess server({"--certificate", certificate.der(), "--key", certificate.keyPem(),
                                "--trust", place.folder.path() / "clients"});
    const std::string plant = " -p north -u " + server.url();
    EXPECT_EQ(place.run("nimbhost trust --fingerprint " + std::string(64, 'A') + plant).status, 1);
    EXPECT_TRUE(fs::is_empty(place.folder.path() / "trusted")) << "a wrong one was trusted";
    EXPECT_TRUE(holds(place.run("nimbhost doctor" + plant).out, "nimbhost trust --plant north"));

    const auto offers = jsonLines(place.run("nimbhost --json endpoints" + plant).out);
    std::string fingerprint;
    for (const auto& offer : offers) {
        if (offer["mode"] == "encrypt") fingerprint = offer["certificate"]["sha256"];
    }
    ASSERT_FALSE(fingerprint.empty());
    EXPECT_EQ(place.run("nimbhost trust --fingerprint " + fingerprint + plant).status, 0);
    const auto doctor = place.run("nimbhost doctor" + plant + " Tank1.Level");
    EXPECT_EQ(doctor.status, 0) << doctor.out << doctor.err;
    EXPECT_TRUE(holds(doctor.out, "\nReady"));
    const auto read = place.run("nimbhost read --json Tank1.SetPoint --user operator" + plant);
    EXPECT_EQ(read.status, 2) << "no password: " << read.out;
    const auto logged = place.run(
        "NIMBOPCUA_PASSWORD=plant-7 nimbhost read --show-calls "
        "Tank1.SetPoint --user operator" +
        plant);
    EXPECT_EQ(logged.status, 0) << logged.err;
    EXPECT_TRUE(holds(logged.err, "zfConnectUser $handle")) << logged.err;
    EXPECT_FALSE(holds(logged.err + logged.out, "plant-7")) << "the password shows";
    const auto weary = place.run("nimbhost doctor --json --expires 5000" + plant);
    EXPECT_EQ(weary.status, 1);
    EXPECT_EQ(jsonLines(weary.out).back()["ready"], false);
}

// ------------------------------------------------------------------------------------------------

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
        std::string text = "url = " + server.url() + '\n' + changed;
        for (const char* line : {"mode = encrypt", "certificate = client.der",
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
        Refusal{"Password", "", "connect refused: wrong user name or password", "server", "client",
                "user = operator\n"}),
    [](const auto& each) { return each.param.name; });

// ------------------------------------------------------------------------------------------------

class PlainServerTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = new ServerProcess(std::vector<std::string>{"--move", "100", "--bulk", "300"});
    }
    static void TearDownTestSuite() { delete server_; }
    static std::string url() { return " -u " + server_->url(); }

    static ServerProcess* server_;
    Workplace place_;
};
ServerProcess* PlainServerTest::server_ = nullptr;

TEST_F(PlainServerTest, ReadsWritesAndListsByEveryKindOfName) {
    const auto read = place_.run(
        "nimbhost read --json 'ns=2;s=Tank1.SetPoint' "
        "/Objects/Plant/Tank1/Level Tank2.SetPoint i=2258" +
        url());
    ASSERT_EQ(read.status, 0) << read.err;
    const auto lines = jsonLines(read.out);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1]["node"], "ns=2;s=Tank1.Level");
    EXPECT_EQ(lines[1]["type"], "Double");
    EXPECT_EQ(lines[1]["statusName"], "Good");
    EXPECT_EQ(place_.run("nimbhost read Tank9.Level" + url()).status, 1);

    const auto written = [&](const char* value) {
        return place_.run(std::string("nimbhost write ") + value + url());
    };
    EXPECT_EQ(written("Tank1.SetPoint -12.5").status, 0);
    EXPECT_EQ(written("Tank1.SetPoint 99 --dry-run").status, 0);
    EXPECT_TRUE(holds(place_.run("nimbhost read Tank1.SetPoint" + url()).out, " -12.5 "));
    const auto refused = written("Tank1.SetPoint high");
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(holds(refused.err, "Double")) << refused.err;

    const auto tree = jsonLines(place_
                                    .run("nimbhost ls --json --depth 2 --values "
                                         "/Objects/Plant" +
                                         url())
                                    .out);
    const auto level = std::find_if(tree.begin(), tree.end(), [](const auto& entry) {
        return entry["node"] == "ns=2;s=Tank1.Level";
    });
    ASSERT_NE(level, tree.end());
    EXPECT_EQ((*level)["depth"], 2);
    EXPECT_EQ((*level)["class"], "Variable");
    EXPECT_TRUE((*level)["value"].is_number());

    const auto fit =
        jsonLines(place_.run("nimbhost fit --json Tank1.Level Tank2.Level" + url()).out);
    EXPECT_EQ(fit.at(2)["bytes"], 2 + 2 * 126);
}

TEST_F(PlainServerTest, FollowsChangesOffATerminalWithinItsLimits) {
    const auto counted =
        place_.run("nimbhost watch -n 5 --json --interval 50ms Tank1.Level" + url());
    EXPECT_EQ(counted.status, 0) << counted.err;
    const auto lines = jsonLines(counted.out);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[4]["name"], "Tank1.Level");
    EXPECT_TRUE(lines[4]["value"].is_number());
    EXPECT_EQ(place_.run("nimbhost watch --for 300ms Pump1.State" + url()).status, 0);
    const auto empty = place_.run("nimbhost watch --within 500ms 'ns=2;i=3013'" + url());
    EXPECT_EQ(empty.status, 4) << empty.out << empty.err;
}

TEST_F(PlainServerTest, SaysInOneLineWhatIsWrongWithTheInput) {
    struct Bad {
        const char* command;
        int status;
        const char* says;
    };
    place_.run("mkdir folder; printf 'url = opc.tcp://h:1\\ntimout = 3s\\n' > bad.conf");
    place_.folder.write("page.md", "```\nzfVersion\n");
    for (const Bad& bad : {
             Bad{"nimbhost", 2, "a command is missing"},
             Bad{"nimbhost lst", 2, "did you mean ls or list?"},
             Bad{"nimbhost run folder", 2, "folder is a folder"},
             Bad{"nimbhost read X", 2, "give --url"},
             Bad{"nimbhost read X --url=http://h", 2, "begins with opc.tcp://"},
             Bad{"nimbhost read X -p none", 2, "no plant \"none\""},
             Bad{"nimbhost read X -p bad", 2,
                 "bad.conf:2: unknown key \"timout\"; did you mean timeout"},
             Bad{"nimbhost read X -u opc.tcp://h --timeout soon", 2, "250ms, 5s"},
             Bad{"nimbhost read X --nothing", 2, "--nothing"},
             Bad{"nimbhost explain nonsense", 2, "nothing is known"},
             Bad{"nimbhost cert show folder/none", 1, ""},
             Bad{"nimbhost check page.md", 2, "page.md:1: this fence is not closed"},
             Bad{"nimbhost --library /none call zfVersion", 3, "cannot load"},
             Bad{"nimbhost call zfVersion > /dev/full", 1, "No space left"},
         }) {
        const auto outcome = place_.run(bad.command);
        EXPECT_EQ(outcome.status, bad.status) << bad.command << '\n' << outcome.err;
        EXPECT_TRUE(holds(outcome.err, bad.says)) << bad.command << '\n' << outcome.err;
        EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    EXPECT_EQ(place_.run("nimbhost call zfGetStatusCodeNameB 0 --json").out,
              "{\"entry\":\"zfGetStatusCodeNameB\",\"status\":0,\"results\":{\"name\":\"Good\","
              "\"code\":0}}\n");
}

// ------------------------------------------------------------------------------------------------

TEST(Interruption, LeavesNoSessionBehind) {
    TestServer server;
    const Workplace place;
    place.folder.write("open.nimb",
                       "zfCreateClientB\nzfSetupClientC $handle, 3000, 1, \"\", \"\", \"\", \"\", "
                       "\"\", 0\nzfConnectB $handle, " +
                           server.url() + "\nwait 20000\n");
    for (const char* command : {"nimbhost run open.nimb", "nimbhost watch Tank1.Level -u $U"}) {
        for (const char* signal : {"INT", "TERM"}) {
            const auto outcome = place.run(std::string("U=") + server.url() +
                                           "; for i in 1 2 3 4 5; do for j in 1 2 3 4 5; do "
                                           "{ timeout --preserve-status -s " +
                                           signal + " 1.$j " + command +
                                           "; echo \"status $?\"; } & done; wait; done");
            std::size_t interrupted = 0;
            const std::string expected = std::string("status ") + (*signal == 'I' ? "130" : "143");
            for (std::size_t at = 0; (at = outcome.out.find(expected, at)) != std::string::npos;
                 ++at) {
                ++interrupted;
            }
            EXPECT_EQ(interrupted, 25U) << outcome.out << outcome.err;
        }
    }
    EXPECT_EQ(place
                  .run("nimbhost run - <<'END' | head -1\n" + place.file("open.nimb") +
                       "\nzfVersion\nEND")
                  .status,
              0);
    EXPECT_TRUE(waitUntil([&] { return server.sessionCount() == 0; }))
        << server.sessionCount() << " sessions are left";
}

TEST_F(PlainServerTest, DrawsOnATerminalOfAnySize) {
    const std::string session = "nimb" + std::to_string(::getpid());
    const auto tmux = [&](const std::string& command) {
        return place_.run("tmux -L " + session + ' ' + command);
    };
    const auto shows = [&](const std::string& text) {
        return waitUntil([&] { return holds(tmux("capture-pane -p").out, text); });
    };
    ASSERT_EQ(tmux("new-session -d -x 60 -y 20 sh").status, 0);
    tmux("send-keys 'nimbhost watch Tank1.Level Pump1.State" + url() + "' Enter");
    EXPECT_TRUE(shows("q quit  p pause"));
    for (const int columns : {60, 80, 200}) {
        tmux("resize-window -x " + std::to_string(columns) + " -y 20");
        EXPECT_TRUE(waitUntil([&] {
            const std::string picture = tmux("capture-pane -p").out;
            const std::size_t row = picture.find("Tank1.Level ");
            return row != std::string::npos && holds(picture, "LOST\n") &&
                   holds(picture.substr(0, picture.find('\n')), "subscription");
        })) << columns
            << '\n'
            << tmux("capture-pane -p").out;
    }
    tmux("send-keys p");
    EXPECT_TRUE(shows("PAUSED"));
    tmux("send-keys C-c");
    // Keys that arrive before are the table's own.
    EXPECT_TRUE(waitUntil([&] { return !holds(tmux("capture-pane -p").out, "q quit"); }));
    tmux("send-keys 'echo status $?' Enter");
    EXPECT_TRUE(shows("status 130"));
    tmux("send-keys 'clear; TERM=dumb nimbhost watch -n 2 Tank1.Level" + url() +
         "; echo done' Enter");
    EXPECT_TRUE(shows("\ndone"));
    EXPECT_FALSE(holds(tmux("capture-pane -p -e").out, "\033[1m"));
    tmux("kill-server");
}

// ------------------------------------------------------------------------------------------------

TEST_F(PlainServerTest, ExplainsCodesTextsAndLogs) {
    EXPECT_TRUE(holds(place_.run("nimbhost explain 2148139008").out, "BadTimeout"));
    EXPECT_TRUE(
        holds(place_.run("nimbhost explain BadCertificateUntrusted").out, "nimbhost trust"));
    place_.folder.write("plant.log",
                        "x [1/1]  * error/channel\t Received an ERR response with "
                        "StatusCode BadCertificateTimeInvalid\n");
    EXPECT_TRUE(holds(place_.run("nimbhost explain plant.log").out, "make a new one"));
}

TEST_F(PlainServerTest, PrintsTheTablesThatTheManualHas) {
    for (const auto& [page, table] : {std::pair("security.md", "set-up"),
                                      {"security.md", "connect"},
                                      {"sessions.md", "reach"},
                                      {"faults.md", "fault"}}) {
        const std::string text = readFile(fs::path(NIMB_DOCS) / page);
        const std::string mark = std::string("<!-- causes: ") + table + " -->\n";
        const std::string printed =
            place_.run(std::string("nimbhost explain --manual ") + table).out;
        EXPECT_GT(printed.size(), 100U);
        EXPECT_TRUE(holds(text, mark + printed)) << page << " lacks\n" << mark << printed;
    }
}

class ManualTest : public testing::TestWithParam<const char*> {};

TEST_P(ManualTest, ExamplesAnswerAsThePageSays) {
    const ServerProcess server({"--move", "0"});
    const Workplace place;
    const auto checked =
        place.run("nimbhost check -u " + server.url() + " '" NIMB_DOCS "/" + GetParam() + "'");
    EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
}

INSTANTIATE_TEST_SUITE_P(
    Pages, ManualTest,
    testing::Values("nimbhost.md", "reading.md", "sessions.md", "subscriptions.md"),
    [](const auto& each) {
        return std::string(each.param).substr(0, std::string(each.param).find('.'));
    });

}  // namespace
}  // namespace nimb::test
