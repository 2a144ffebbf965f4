// nimbhost at a terminal, and interrupted.

#include <gtest/gtest.h>
#include <unistd.h>

#include "nimbhost_workplace.h"
#include "testbed/server_process.h"
#include "testbed/test_server.h"
#include "testbed/wait_until.h"

namespace nimb::test {
namespace {

TEST(Interruption, LeavesNoSessionBehind) {
    TestServer server;
    const Workplace place;
    place.folder.write("open.nimb",
                       "zfCreateClientB\nzfSetupClientC $handle, 3000, 1, \"\", \"\", \"\", \"\", "
                       "\"\", 0\nzfConnectB $handle, " +
                           server.url() + "\nwait 20000\n");
    for (const char* command : {"nimbhost run open.nimb", "nimbhost watch Tank1.Level -u $U"}) {
        for (const char* signal : {"INT", "TERM"}) {
            const auto outcome =
                place.run(std::string("U=") + server.url() +
                          "; for i in 1 2 3 4 5; do for j in 1 2 3 4 5; do "
                          "{ timeout --preserve-status -s " +
                          signal + " 1.$j " + command +
                          " >.log; echo $?; } & done; wait; done | sort | uniq -c");
            EXPECT_EQ(outcome.out, std::string("     25 ") + (*signal == 'I' ? "130\n" : "143\n"))
                << outcome.err;
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

/// A terminal with a shell in it.
class TerminalTest : public testing::Test {
  protected:
    TerminalTest() {
        tmux("new-session -d -x 100 -y 25 'HOME=. exec sh'");
        keys("U=" + server_.url(), "Enter");
    }
    ~TerminalTest() override { tmux("kill-server"); }
    TerminalTest(const TerminalTest&) = delete;
    TerminalTest& operator=(const TerminalTest&) = delete;

    Outcome tmux(const std::string& command) {
        return place_.run("tmux -L nimb" + std::to_string(::getpid()) + ' ' + command);
    }
    void keys(const std::string& text, const std::string& key) {
        tmux("send-keys -l '" + text + "'");
        tmux("send-keys " + key);
    }
    std::string picture() { return tmux("capture-pane -p").out; }
    testing::AssertionResult shows(const std::string& text) {
        const bool seen = waitUntil([&] { return holds(picture(), text); });
        return (seen ? testing::AssertionSuccess() : testing::AssertionFailure()) << picture();
    }

    Workplace place_;
    ServerProcess server_{std::vector<std::string>{"--move", "100"}};
};

TEST_F(TerminalTest, ShowsATableOfItsSize) {
    keys("nimbhost watch Tank1.Level Pump1.State -u $U", "Enter");
    EXPECT_TRUE(shows("q quit  p pause"));
    for (const char* pause : {"", "p"}) {
        tmux(std::string("send-keys -l '") + pause + "'");
        for (const std::size_t columns : {200U, 60U, 80U}) {
            tmux("resize-window -x " + std::to_string(columns) + " -y 25");
            EXPECT_TRUE(waitUntil([&] {
                const std::string seen = picture();
                const std::string last = seen.substr(0, seen.find_last_not_of('\n') + 1);
                return holds(seen, "\nTank1.Level ") && holds(seen, "LOST\n") &&
                       holds(last, *pause == 'p' ? "\nPAUSED" : "\nlibrary's") &&
                       last.size() - last.rfind('\n') - 1 == columns;
            })) << columns
                << '\n'
                << picture();
        }
    }
    tmux("send-keys C-c");
    // Keys that arrive before are the table's own.
    EXPECT_TRUE(waitUntil([&] { return !holds(picture(), "q quit"); }));
    keys("echo status $?", "Enter");
    EXPECT_TRUE(shows("status 130"));
    keys("clear; TERM=dumb nimbhost watch -n 2 Tank1.Level -u $U; echo done", "Enter");
    EXPECT_TRUE(shows("\ndone"));
    EXPECT_FALSE(holds(tmux("capture-pane -p -e").out, "\033[1m"));
}

TEST_F(TerminalTest, FollowsAServerThatGoesAndComesBack) {
    keys("nimbhost watch Tank1.Level -u $U", "Enter");
    EXPECT_TRUE(shows("q quit  p pause"));
    server_.kill();
    EXPECT_TRUE(shows("setting up again, try 2"));
    server_.start();
    EXPECT_TRUE(shows("the session was lost and set up again"));
}

TEST_F(TerminalTest, IsGivenBackByTheThirdInterruption) {
    keys("nimbhost watch --timeout 60s Tank1.Level -u $U", "Enter");
    EXPECT_TRUE(shows("q quit  p pause"));
    server_.freeze();
    EXPECT_TRUE(shows("asking the server"));
    // Those that come faster than they are taken count as one.
    EXPECT_TRUE(waitUntil([&] {
        tmux("send-keys C-c");
        return !holds(picture(), "q quit");
    }));
    keys("stty -a | grep -o \" echo \"; echo $((6 * 7))", "Enter");
    // Typed ahead it may stand behind the prompt.
    EXPECT_TRUE(shows(" echo\n42\n"));
}

TEST_F(TerminalTest, PromptsForAPasswordUntilItIsInterrupted) {
    keys("nimbhost read Tank1.SetPoint -u $U --user operator", "Enter");
    EXPECT_TRUE(shows("Password of operator:"));
    keys("plant-7", "Enter");
    EXPECT_TRUE(shows("Good"));
    EXPECT_FALSE(holds(picture(), "plant-7"));
    keys("nimbhost read Tank1.SetPoint -u $U --user manager; echo status $?", "Enter");
    EXPECT_TRUE(shows("Password of manager:"));
    tmux("send-keys C-c");
    EXPECT_TRUE(shows("status 130"));
}

TEST_F(TerminalTest, KeepsTheShellThroughAnInterruption) {
    keys("nimbhost shell", "Enter");
    EXPECT_TRUE(shows("[no client]>"));
    for (const char* line : {"repeat 1 {", "echo begun", "wait 30000", "}"}) keys(line, "Enter");
    EXPECT_TRUE(shows("== begun"));
    tmux("send-keys C-c");
    keys("! zfConnectB ", "Tab");
    EXPECT_TRUE(shows("zfConnectB handle, url\n"));
    tmux("send-keys C-u");
    keys("zfCreateClientB", "Enter");
    EXPECT_TRUE(shows("[not set up]>"));
    keys("zfConnectUser $handle, a, b, $ecret", "Enter");
    EXPECT_TRUE(shows("a, b, ***"));
    keys("  exit ", "Enter");
    std::string history;
    EXPECT_TRUE(waitUntil([&] {  // the last line is written last
        if (!fs::exists(place_.folder.path() / ".nimbhost_history")) return false;
        history = place_.file(".nimbhost_history");
        return holds(history, "exit");
    }));
    EXPECT_TRUE(holds(history, "wait")) << history;
    EXPECT_FALSE(holds(history, "ecret")) << history;
}

}  // namespace
}  // namespace nimb::test
