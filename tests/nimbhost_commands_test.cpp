// nimbhost as people run it: a process of its own, in a folder of its own, against servers that are
// processes, too.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "nimbhost_workplace.h"
#include "testbed/certificates.h"
#include "testbed/server_process.h"

namespace nimb::test {
namespace {

TEST(Commands, KeepKeyAndCertificateTogetherWhenEndedInTheMiddle) {
    const Workplace place;
    ASSERT_EQ(place.run("nimbhost cert new -p north --uri urn:a:b").status, 0);
    const std::string key = place.file("own/client.key.pem");
    // The limit lets the key through and ends the process in the middle of the certificate.
    const auto ended = place.run("ulimit -c 0; ulimit -f 4; nimbhost cert new -p north --uri urn:" +
                                 std::string(5000, 'x') + " --force");
    EXPECT_NE(ended.status, 0);
    EXPECT_EQ(place.file("own/client.key.pem"), key);
    fs::remove(place.folder.path() / "own/client.der");
    EXPECT_TRUE(holds(place.run("nimbhost cert new -p north --uri urn:a:b").err,
                      "own/client.key.pem is there without own/client.der"));
    EXPECT_EQ(place.run("nimbhost cert new -p north --uri urn:a:b --force").status, 0);
    // Ended between the two names.
    place.folder.write("own/client.key.pem", key);
    const auto shown = place.run("nimbhost cert show own");
    EXPECT_EQ(shown.status, 1);
    EXPECT_TRUE(holds(shown.out, "BELONGS TO NO CERTIFICATE")) << shown.out;
    EXPECT_TRUE(holds(place.run("nimbhost cert new -p north --uri urn:a:b").err,
                      "own/client.key.pem does not belong to own/client.der"));
    EXPECT_TRUE(holds(place.run("nimbhost doctor -p north -u opc.tcp://127.0.0.1:1").out,
                      "own/client.key.pem belongs to another certificate"));
}

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
    const std::string fingerprint = offers.back()["certificate"]["sha256"];
    EXPECT_EQ(offers.back()["mode"], "encrypt");
    EXPECT_EQ(offers.back()["tokens"].size(), 3U);
    EXPECT_TRUE(holds(place.run("COLUMNS=20 nimbhost endpoints" + plant).out, "user name"));
    EXPECT_EQ(place.run("nimbhost trust --fingerprint " + fingerprint + plant).status, 0);
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
    place.run("nimbhost cert new -p north --force --uri " + std::string(kClientUri));
    EXPECT_TRUE(holds(place.run("nimbhost read X" + plant).err, "does not trust our certificate"));
}

// ------------------------------------------------------------------------------------------------

class PlainServerTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = new ServerProcess({"--move", "100", "--bulk", "300", "--signal", "Sine=sine"});
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

    const auto partly = place_.run("nimbhost read --json Odd.LongString Tank1.Level" + url());
    EXPECT_EQ(partly.status, 1) << partly.err;
    EXPECT_EQ(jsonLines(partly.out).at(1)["statusName"], "Good") << "lost with its neighbour";

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
    const auto dense =
        place_.run("nimbhost watch --for 3s --json --interval 1s --queue 20 Sine" + url());
    EXPECT_GE(jsonLines(dense.out).size(), 6U) << dense.out << dense.err;
    EXPECT_EQ(place_.run("nimbhost watch --for 300ms Pump1.State" + url()).status, 0);
    const auto empty = place_.run("nimbhost watch --within 500ms 'ns=2;i=3013'" + url());
    EXPECT_EQ(empty.status, 4) << empty.out << empty.err;
}

TEST_F(PlainServerTest, SaysInOneLineWhatIsWrongWithTheInput) {
    struct Bad {
        std::string command;
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
             Bad{"nimbhost trust opc.tcp://127.0.0.1:1", 1, "nothing listens on that port"},
             Bad{"nimbhost cert show folder/none", 1, ""},
             Bad{"nimbhost check page.md", 2, "page.md:1: this fence is not closed"},
             Bad{"nimbhost --library /none call zfVersion", 3, "cannot load"},
             Bad{"nimbhost call zfVersion > /dev/full", 1, "No space left"},
             Bad{"nimbhost --help > /dev/full", 1, "No space left"},
             Bad{"nimbhost read --json Tank1.Level > /dev/full" + url(), 1, "No space left"},
             Bad{"nimbhost call zfConnectUser 1 u v '\"plant-7'", 2, "is a password"},
         }) {
        const auto outcome = place_.run(bad.command);
        EXPECT_EQ(outcome.status, bad.status) << bad.command << '\n' << outcome.err;
        EXPECT_TRUE(holds(outcome.err, bad.says)) << bad.command << '\n' << outcome.err;
        EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_FALSE(holds(outcome.err, "plant-7")) << outcome.err;
    }
    EXPECT_EQ(place_.run("nimbhost call zfGetStatusCodeNameB 0 --json").out,
              "{\"entry\":\"zfGetStatusCodeNameB\",\"status\":0,\"results\":{\"name\":\"Good\","
              "\"code\":0}}\n");
}

// ------------------------------------------------------------------------------------------------

TEST_F(PlainServerTest, KnowsCertificatesThatHoldAlmostForEver) {
    const auto shown = place_.run(
        "openssl req -x509 -newkey rsa:2048 -nodes -keyout key -out long.pem -days 2900000 -subj "
        "/CN=x 2>.log; nimbhost cert show long.pem");
    EXPECT_EQ(shown.status, 0) << shown.out;
    EXPECT_TRUE(holds(shown.out, "until 99")) << shown.out;
}

TEST_F(PlainServerTest, CompletesPlantsWithoutCarryingOutTheirNames) {
    const auto completed = place_.run(
        "touch north.conf nord.conf '$(touch pwned).conf'; bash --norc -c '. \"" NIMB_DOCS
        "/../packaging/completion/nimbhost\"; COMP_WORDS=(nimbhost read -p nor) COMP_CWORD=3; "
        "_nimbhost; echo \"${COMPREPLY[@]}\"; COMP_WORDS[3]=; _nimbhost'; test ! -e pwned");
    EXPECT_EQ(completed.status, 0);
    EXPECT_EQ(completed.out, "nord north\n");
}

TEST_F(PlainServerTest, ExplainsCodesTextsAndLogs) {
    EXPECT_TRUE(holds(place_.run("nimbhost explain 2148139008").out, "BadTimeout"));
    EXPECT_TRUE(
        holds(place_.run("nimbhost explain BadCertificateUntrusted").out, "nimbhost trust"));
    place_.folder.write("plant.log",
                        "Received an ERR response with StatusCode BadCertificateTimeInvalid\n"
                        "the key of its certificate is no RSA key\nCould not set up the "
                        "SecureChannel context (StatusCode: BadCertificateUseNotAllowed)\n");
    const std::string log = place_.run("nimbhost explain plant.log").out;
    EXPECT_TRUE(holds(log, "make a new one") && holds(log, "is not RSA") &&
                !holds(log, "shorter or longer"))
        << log;
}

}  // namespace
}  // namespace nimb::test
