// The SQLite extension in the real shell, against real servers and a network that fails.

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>

#include "sqlite_shell.h"
#include "testbed/certificates.h"
#include "testbed/fault_proxy.h"
#include "testbed/server_process.h"
#include "testbed/test_server.h"
#include "testbed/wait_until.h"

namespace nimb::test {
namespace {

using Clock = std::chrono::steady_clock;

class SqliteTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { server_ = new TestServer(); }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }
    static std::string tank(const std::string& name = "tank") {
        return table(name, server_->url(), "ns=2;s=Tank1.Level ns=2;s=Tank1.SetPoint ns=2;i=4002");
    }
    static double setPoint() {
        return *static_cast<double*>((*server_->value(plant::tank1SetPoint)).data);
    }
    Shell shell_;
    static TestServer* server_;
};

TestServer* SqliteTest::server_ = nullptr;

TEST_F(SqliteTest, WhatCannotBeIsRefusedByName) {
    struct Case {
        std::string statement;
        const char* error;
    };
    const auto made = [](const std::string& options) {
        return "CREATE VIRTUAL TABLE t USING opcua(" + options + ");\n";
    };
    const std::string url = "url='opc.tcp://127.0.0.1:1'";
    const Case cases[] = {
        {made(""), "option url: opc.tcp://HOST:PORT is wanted"},
        {made("'x'"), "\"'x'\" is not NAME='VALUE'"},
        {made("nodes='i=1'"), "option url: opc.tcp://HOST:PORT is wanted"},
        {made("url='http://x', nodes='i=1'"), "option url: opc.tcp://HOST:PORT is wanted"},
        {made(url), "option nodes is missing"},
        {made(url + ", nodes='i=1 Tank1'"), "\"i=1 Tank1\" is no node"},
        {made(url + ", nodes='i=1', library='/tmp/x.so'"), "unknown option \"library\""},
        {made(url + ", nodes='i=1', password='x'"), "unknown option \"password\""},
        {made(url + ", nodes='i=1', nodes='i=2'"), "option nodes is given twice"},
        {made(url + ", nodes='i=1', timeout='-5'"), "option timeout: milliseconds from 1"},
        {made(url + ", nodes='i=1', timeout='1e9'"), "option timeout: milliseconds from 1"},
        {made(url + ", nodes='i=1', key='k'"), "belong to a certificate"},
        {made(url + ", nodes='i=1', certificate='c'"), "option certificate needs a key"},
        {made(url + ", nodes='i=1', password_env='X'"), "option password_env needs a username"},
        {"SELECT * FROM opcua_browse;", "opcua_browse takes a url and a node"},
        {"SELECT * FROM opcua_browse('file:///etc/passwd');",
         "a url opc.tcp://HOST:PORT is wanted"},
        {"SELECT * FROM opcua_browse('" + server_->url() + "', 'Objects');", "is no node"},
        {"SELECT * FROM opcua_browse('" + server_->url() + "', 'i=99999');", "BadNodeIdUnknown"},
        {"SELECT * FROM opcua_browse('" + server_->url() + "', 'ns=2;i=6');", "do not fit"},
        {"SELECT * FROM opcua_changes;", "opcua_changes needs source = 'TABLE'"},
        {"SELECT * FROM opcua_changes WHERE source = 'x\"y';", "there is no opcua table x\"y"},
        {tank() +
             "SELECT * FROM opcua_changes WHERE source = 'tank' AND seq > 9223372036854775806;",
         "no change has a number like 9223372036854775806"},
        {tank() + "UPDATE tank SET value = 256 WHERE name = 'Byte';",
         "Byte (ns=2;i=4002): the number"},
        {tank() + "UPDATE tank SET value = 1.5 WHERE name = 'Byte';", "whole numbers only"},
        {tank() + "UPDATE tank SET value = 'x' WHERE name = 'Byte';", "takes a whole number"},
        {tank() + "UPDATE tank SET value = NULL WHERE name = 'Byte';",
         "there is no value to write"},
        {tank() + "UPDATE tank SET value = x'00' WHERE name = 'SetPoint';", "takes a number"},
        {tank() + "UPDATE tank SET value = 1;",
         "Level (ns=2;s=Tank1.Level): the server does not let"},
        {tank() + "UPDATE tank SET name = 'x';", "only the column value can be set"},
        {tank() + "UPDATE tank SET rowid = 9;", "only the column value can be set"},
        {tank() + "DELETE FROM tank;", "nodes of a plant cannot be deleted"},
        {tank() + "INSERT INTO tank(value) VALUES (1);", "nodes cannot be inserted"},
        {table("t", server_->url(), "i=85") + "SELECT * FROM opcua_changes WHERE source = 't';",
         "t: none of the nodes is a variable"},
        {table("t", server_->url(), "ns=2;s=Odd.LongString") + "SELECT value FROM t;",
         "ns=2;s=Odd.LongString: the value does not fit"},
        {table("t", server_->url(), "i=2258", ", username='u', password_env='NO_SUCH'") +
             "SELECT * FROM t;",
         "the environment has no variable NO_SUCH"},
        {table("t", server_->url(), "i=2258", ", username='u'") + "SELECT value FROM t;",
         "BadUserAccessDenied"},
        {"CREATE TABLE h(x); CREATE VIEW v AS SELECT name FROM opcua_browse('" + server_->url() +
             "', 'i=85'); SELECT * FROM v;",
         "unsafe use of virtual table \"opcua_browse\""},
    };
    const double before = setPoint();
    std::string lines;
    for (const Case& c : cases) {
        std::string undo = "ROLLBACK;\n.print --\n";
        lines += "BEGIN;\n" + c.statement + "\n" + undo;
    }
    std::istringstream output(shell_.run(lines));
    for (const Case& c : cases) {
        std::string answer;
        for (std::string line; std::getline(output, line) && line != "--";) answer += line + '\n';
        EXPECT_NE(answer.find(c.error), std::string::npos) << c.statement << answer;
    }
    EXPECT_EQ(setPoint(), before) << "nothing was written";
}

TEST_F(SqliteTest, ATransactionsWritesAreSentWhenItIsCommitted) {
    const std::string show = "SELECT value FROM tank WHERE name = 'SetPoint';\n";
    EXPECT_EQ(
        shell_.run(tank() + "UPDATE tank SET value = 51 WHERE name = 'SetPoint';\n" + show +
                   "BEGIN; UPDATE tank SET value = 52 WHERE name = 'SetPoint'; ROLLBACK;\n" + show +
                   "BEGIN; UPDATE tank SET value = 53 WHERE name = 'SetPoint'; SAVEPOINT s;\n"
                   "UPDATE tank SET value = 54 WHERE name = 'SetPoint'; ROLLBACK TO s;\n" +
                   show + "COMMIT;\n" + show +
                   "UPDATE tank SET value = 300 WHERE name IN ('SetPoint', 'Byte');\n" + show),
        "51.0\n51.0\n51.0\n53.0\n"
        "Runtime error near line 12: Byte (ns=2;i=4002): the number is out of the range of "
        "Byte\n53.0\n");
}

TEST_F(SqliteTest, AFilesSchemaIsReadWithoutPlantOrLibrary) {
    const std::string nowhere = "opc.tcp://127.0.0.1:1";
    shell_.run(table("away", nowhere, "i=2258", ", timeout='500'") + "CREATE TABLE own(x);");
    const Shell bare("NIMBOPCUA_LIBRARY=/nowhere.so");
    EXPECT_EQ(shell_.run("INSERT INTO own VALUES (7); SELECT x FROM own;\n"), "7\n");
    EXPECT_NE(shell_.run("SELECT * FROM away;\n").find("BadConnectionRejected"), std::string::npos);
    const std::string output =
        bare.run(table("temp.t", nowhere, "i=2258") + "SELECT 1;\nSELECT * FROM t;\n");
    EXPECT_TRUE(output.starts_with("1\n")) << output;
    EXPECT_NE(output.find("cannot load the library: /nowhere.so"), std::string::npos) << output;
}

TEST_F(SqliteTest, ValuesThatSqliteHasNoPlaceForAreShownAllTheSame) {
    server_->setValue(plant::writableOf(plant::type::string),
                      plant::scalar(plant::borrowed("a\xFF"), plant::type::string));
    EXPECT_EQ(
        shell_.run(".nullvalue NULL\n" +
                   table("odd", server_->url(),
                         "ns=2;s=Odd.NotANumber ns=2;i=3008 ns=2;i=3014 ns=2;i=4011 "
                         "ns=2;s=Odd.EmptyArray ns=2;i=1021 ns=2;i=1022 ns=2;i=3000 "
                         "ns=2;i=3020 ns=2;i=3013 ns=2;s=Odd.BadWithoutValue") +
                   "SELECT typeof(value), CASE typeof(value) WHEN 'blob' THEN hex(value) ELSE "
                   "value END, status_name FROM odd;\n"),
        "null|NULL|Good\ntext|9223372036854775808|Good\nblob|0001FF007F|Good\n"
        "null|NULL|Good\nnull|NULL|NULL\ntext|[2.5]|Good\ntext|[[1,2,3],[4,5,6]]|Good\n"
        "integer|1|Good\ntext|{\"text\":\"Behälter leer\",\"locale\":\"de\"}|Good\n"
        "null|NULL|NULL\nnull|NULL|BadNoData\n");
}

TEST_F(SqliteTest, NoWayOutLeavesASession) {
    for (const char* out : {".exit 3\n", "SELECT bad;\n", ".quit\n", ""}) {
        const std::string answer =
            shell_.run(tank("temp.tank") +
                       "SELECT count(*) FROM opcua_changes WHERE source = 'tank';\n"
                       "SELECT count(status) FROM tank;\n" +
                       out);
        EXPECT_TRUE(answer.starts_with("3\n3\n")) << answer;
        EXPECT_EQ(server_->sessionCount(), 0U) << out;
    }
}

TEST_F(SqliteTest, ChangesAreHandedOutUntilTheyAreSafe) {
    const std::string changes =
        "SELECT name, value, lost FROM opcua_changes WHERE source = 'tank' AND seq > "
        "(SELECT ifnull(max(seq), 0) FROM history);\n";
    const std::string keep =
        "INSERT INTO history SELECT seq FROM opcua_changes WHERE source = 'tank' AND seq > (SELECT "
        "ifnull(max(seq), 0) FROM history);\n";
    const std::string write = "UPDATE tank SET value = 7 WHERE name = 'Byte';\n";
    server_->setValue(plant::tank1SetPoint, plant::scalar(50.0, plant::type::doubleFloat));
    EXPECT_EQ(shell_.run("CREATE TABLE history(seq INTEGER PRIMARY KEY);\n" + tank() + changes +
                         "BEGIN;\n" + keep + "ROLLBACK;\n" + changes + keep + ".print --\n" +
                         changes + write + changes +
                         "ALTER TABLE tank RENAME TO basin;\n"
                         "SELECT count(*) FROM opcua_changes WHERE source = 'main.basin';\n"),
              "Level|42.5|0\nSetPoint|50.0|0\nByte|0|0\n"
              "Level|42.5|0\nSetPoint|50.0|0\nByte|0|0\n--\nByte|7|0\n1\n");
}

TEST_F(SqliteTest, AThousandRoundsLeaveNothingBehind) {
    std::string lines = ".load nimbopcua_sqlite\n";
    const std::string size =
        ".shell grep VmRSS /proc/$PPID/status | tr -dc 0-9; ls /proc/$PPID/fd | wc -l\n";
    const auto rounds = [&](int count) {
        std::string all;
        for (int i = 0; i < count; ++i) {
            for (int scan = 0; scan < 10; ++scan) all += "SELECT value FROM long;\n";
            all += tank("temp.tank") + "SELECT sum(status) > 9 FROM tank; DROP TABLE tank;\n" +
                   "SELECT * FROM opcua_browse('opc.tcp://127.0.0.1:1x');\n";
        }
        return all;
    };
    const std::string failing = table("temp.long", server_->url(), "ns=2;s=Odd.LongString");
    std::istringstream output(shell_.run(failing + ".output /dev/null\n" + rounds(100) +
                                         ".output\n" + size + ".output /dev/null\n" + rounds(1000) +
                                         ".output\n" + size));
    std::vector<long> sizes;
    for (std::string line; std::getline(output, line);) {
        if (line.find_first_not_of("0123456789") == std::string::npos)
            sizes.push_back(std::stol(line));
    }
    ASSERT_EQ(sizes.size(), 2U);
    EXPECT_LT(sizes[1], sizes[0] * 11 / 10 + 30000) << "kilobytes with the descriptors behind";
}

TEST(SqliteFaults, AStatementEndsInTimeAndTheNextOneWorks) {
    ServerProcess server;
    FaultProxy proxy(server.port());
    Shell shell;
    const std::string read = "SELECT name, value > 0 FROM t;\n";
    const auto wait = [](const char* file) {
        return std::string(".shell touch ") + file + "; for i in $(seq 400); do test -e " + file +
               ".go && break; sleep 0.05; done\n";
    };
    const pid_t process =
        shell.start(table("temp.t", proxy.url(), "ns=2;s=Tank1.SetPoint", ", timeout='700'") +
                    read + wait("a") + ".timer on\n" + read + ".timer off\n" + wait("b") + read +
                    wait("c") + read + wait("d") + read + "UPDATE t SET value = 9;\n");
    const auto folder = shell.folder();
    const auto at = [&](const char* file, auto work) {
        ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(folder / file); })) << file;
        work();
        std::ofstream(folder / (std::string(file) + ".go"));
    };
    at("a", [&] { proxy.set(Fault::freeze); });
    at("b", [&] { proxy.set(Fault::none); });
    at("c", [&] { proxy.set(Fault::cut); });
    at("d", [&] {
        proxy.set(Fault::none);
        server.kill();
        server.start();
    });
    int status = 0;
    ASSERT_TRUE(awaitProcess(process, 0, status));
    const std::string output = shell.output();
    std::string seen;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const auto bad = line.find("[Bad");
        seen += bad == std::string::npos ? line.substr(0, line.find("user"))
                                         : line.substr(bad, line.find(']', bad) - bad);
        seen += '\n';
    }
    const auto real = seen.find("real 0.7");
    ASSERT_NE(real, std::string::npos) << "the timeout is 0.7 s: " << output;
    seen.erase(real, seen.find('\n', real) - real);
    EXPECT_EQ(
        seen,
        "SetPoint|1\n[BadTimeout\nRun Time: \nSetPoint|1\n[BadConnectionClosed\nSetPoint|1\n");
}

TEST(SqliteFaults, InterruptsEndTheShellInTheMiddleOfACall) {
    const ServerProcess server;
    FaultProxy proxy(server.port());
    const Shell shell;
    const pid_t process = shell.start(
        table("temp.t", proxy.url(), "ns=2;s=Tank1.SetPoint", ", timeout='60000'") +
        "SELECT value FROM t;\n.shell touch a; while ! test -e a.go; do sleep 0.05; done\n"
        "SELECT value FROM t;\n");
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(shell.folder() / "a"); }));
    proxy.set(Fault::freeze);
    std::ofstream(shell.folder() / "a.go");
    // The third one calls exit() from the signal's handler, if the shell is behind ".shell" then.
    int status = 0;
    bool ended = false;
    const bool inTime = waitUntil([&] {
        kill(process, SIGINT);
        ended = ended || waitpid(process, &status, WNOHANG) == process;
        return ended;
    });
    ASSERT_TRUE(inTime);
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(shell.output(), "50.0\n");
}

TEST(SqliteSecurity, ATableCanBeEncrypted) {
    CertificateMaker maker;
    const Certificate own = maker.selfSigned("server", "urn:nimbopcua:plant-server");
    const Certificate client = maker.selfSigned("client", "urn:client");
    const auto folder = [&](const char* name, const Certificate* holds) {
        const auto path = maker.directory().path() / name;
        std::filesystem::create_directory(path);
        if (holds != nullptr) std::filesystem::copy(holds->der(), path);
        return path.string();
    };
    const std::string empty = folder("empty", nullptr);
    const ServerProcess server(
        {"--certificate", own.der(), "--key", own.keyDer(), "--trust", folder("clients", &client)});
    const auto trusting = [&](const std::string& name, const std::string& trusted) {
        return table(name, server.url(), "ns=2;s=Tank1.SetPoint",
                     ", certificate='" + client.der().string() + "', key='" +
                         client.keyDer().string() + "', trusted='" + trusted + "', revoked='" +
                         empty + "', uri='urn:client'") +
               "SELECT value FROM " + name + ";\n";
    };
    const std::string output =
        Shell().run(trusting("temp.t", folder("servers", &own)) + trusting("temp.strange", empty));
    EXPECT_TRUE(output.starts_with("50.0\n")) << output;
    EXPECT_NE(output.find("BadCertificateUntrusted"), std::string::npos) << output;
}

}  // namespace
}  // namespace nimb::test
