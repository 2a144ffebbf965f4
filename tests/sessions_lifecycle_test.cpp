// Clients from their creation to their end, against servers that work, refuse, stay silent, freeze
// and die.

#include "sessions_support.h"
#include "testbed/loopback_socket.h"
#include "testbed/server_process.h"
#include "testbed/wait_until.h"

namespace nimb::test {
namespace {

/// What a call may take beyond its bound on a loaded machine, in milliseconds.
constexpr long kMargin = 1500;

const std::string kStateUnknown =
    applicationError(7, "State enquiry regarding uninitialized client");
std::string timedOut(const std::string& url, long timeout) {
    return statusError(UA_STATUSCODE_BADTIMEOUT, cannotConnect(url) + ", configured timeout = " +
                                                     std::to_string(timeout) + " ms");
}
constexpr const char* kSetUpState = "0, 0, 0, 8, 0, 0";
constexpr const char* kConnectedState = "0, 0, 1, 6, 4, 0";
constexpr const char* kDisconnectedState = "0, 2158886912, 0, 8, 0, 0";  // BadConnectionClosed

class LifecycleTest : public PlantTest {
  protected:
    static std::string state(long client) {
        return host_->call("zfGetClientStateD", client).text();
    }
    static std::string read(long client) {
        const Result result = host_->callWith(
            "zfReadAttribute",
            joined(listOf(client), nodeId(plant::tank1Level), listOf(valueAttribute)));
        return result.ok() ? "0" : result.text();
    }
    static std::string connect(long client, const std::string& url = server_->url()) {
        return host_->call("zfConnectB", client, url).text();
    }
    static std::string connectUser(long client, const std::string& url, const char* user,
                                   const char* password) {
        return host_->call("zfConnectUser", client, url, user, password).text();
    }
    static std::string disconnect(long client) {
        return host_->call("zfDisconnectB", client).text();
    }
    static bool sessionsBecome(std::size_t count) {
        return waitUntil([&] { return server_->sessionCount() == count; });
    }
};

TEST_F(LifecycleTest, HostsSeeTheirOwnStateNumbersAtEachStage) {
    const long client = bareClient();
    EXPECT_EQ(state(client), kStateUnknown);
    for (const std::string& answer : {connect(client), disconnect(client), read(client),
                                      connectUser(client, server_->url(), "operator", "plant-7")}) {
        EXPECT_EQ(answer, uninitialized);
    }
    EXPECT_EQ(setUp(*host_, client, {}).text(), "0");
    EXPECT_EQ(state(client), kSetUpState);
    const std::string notConnected =
        closedConnection("Error encountered during execution of read request");
    EXPECT_EQ(read(client), notConnected);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(connect(client), "0");
        EXPECT_EQ(state(client), kConnectedState);
        EXPECT_EQ(read(client), "0");
        EXPECT_EQ(disconnect(client), "0");
        EXPECT_EQ(disconnect(client), "0");
        EXPECT_EQ(state(client), kDisconnectedState);
        EXPECT_EQ(read(client), notConnected);
    }
    EXPECT_EQ(connect(client), "0");
    EXPECT_EQ(host_->call("zfDestroyClientB", client).text(), "0");
    EXPECT_TRUE(sessionsBecome(1));  // the suite's own
    EXPECT_EQ(state(client), badHandle);
}

TEST_F(LifecycleTest, TheStringModeIsStoredAlthoughTheHandleIsBad) {
    const auto text = [] {
        return host_
            ->callWith("zfReadAttribute", joined(listOf(client_), nodeId(plant::coolingNote),
                                                 listOf(valueAttribute)))[4]
            .Type();
    };
    const int narrow = text();
    EXPECT_EQ(setUp(*host_, noClient, {.stringMode = 1}).text(), badHandle);
    EXPECT_NE(text(), narrow);
}

TEST_F(LifecycleTest, ATimeoutBoundsTheConnectAndIsNamedInItsFailure) {
    const SilentListener silent;
    const std::pair<long long, int> cases[] = {{0, 3000}, {-5, 3000}, {1, 1}, {400, 400}};
    const long client = bareClient();
    for (const auto& [given, configured] : cases) {
        ASSERT_TRUE(setUp(*host_, client, {.timeout = given}).ok());
        const long took =
            timeOf([&] {
                EXPECT_EQ(connect(client, silent.url()), timedOut(silent.url(), configured))
                    << given;
            }).count();
        EXPECT_GE(took, configured - 50);
        EXPECT_LT(took, configured + kMargin);
    }
    // A number whose low half is zero.
    ASSERT_TRUE(setUp(*host_, client, {.timeout = 1LL << 32}).ok());
    EXPECT_EQ(connect(client), "0");
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, AModeThatIsNotOfferedIsRefusedAndTheClientNeedsASetUp) {
    const std::pair<long long, std::string> cases[] = {
        {0, "'Invalid' message security mode (msm = 0)"},
        {2, "'Sign' message security mode currently unsupported (msm = 2)"},
        {0x7FFFFFFF, "Unsupported message security mode (msm = 2147483647)"},
        {4, "Unknown message security mode (msm = 4)"},
        {-1, "Unknown message security mode (msm = -1)"},
    };
    for (const auto& [mode, text] : cases) {
        const long client = bareClient();
        EXPECT_EQ(setUp(*host_, client, {.mode = mode}).text(), applicationError(9, text));
        EXPECT_EQ(connect(client), resetDue());
        EXPECT_EQ(connectUser(client, server_->url(), "operator", "plant-7"), resetDue(""));
        EXPECT_EQ(state(client), kStateUnknown);
        EXPECT_EQ(read(client), uninitialized);
        EXPECT_EQ(setUp(*host_, client, {}).text(), "0");
        EXPECT_EQ(state(client), kSetUpState);
    }
}

TEST_F(LifecycleTest, AFailedSetUpOfAConnectedClientRefusesEverythingUntilTheNext) {
    const long client = host_->connectedClient(server_->url());
    EXPECT_FALSE(setUp(*host_, client, {.mode = 2}).ok());
    EXPECT_EQ(state(client), "0, 0, 1, 6, 4, 1");
    EXPECT_EQ(read(client), resetRequired);
    EXPECT_EQ(host_
                  ->callWith("zfBrowse",
                             joined(listOf(client), listOf(listOf(0), listOf(2), listOf(1000))))
                  .text(),
              resetRequired);
    EXPECT_EQ(host_->call("zfReadBulkPoll", client, 1).text(), resetRequired);
    EXPECT_EQ(connectUser(client, server_->url(), "operator", "plant-7"), resetDue(""));
    EXPECT_TRUE(sessionsBecome(1));  // that connect closed the session before it refused
    EXPECT_EQ(connect(client), resetDue());
    EXPECT_EQ(disconnect(client), "0");
    EXPECT_EQ(setUp(*host_, client, {}).text(), "0");
    EXPECT_EQ(connect(client), "0");
    EXPECT_EQ(read(client), "0");
    EXPECT_EQ(setUp(*host_, client, {}).text(), "0");  // on a client that needs none
    EXPECT_TRUE(sessionsBecome(1));
    EXPECT_EQ(state(client), kSetUpState);
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, AConnectGoesWhereItsUrlSaysAndRefusalsNameIt) {
    TestServer other;
    const long client = host_->connectedClient(server_->url());
    EXPECT_EQ(connect(client, other.url()), "0");
    EXPECT_EQ(other.sessionCount(), 1U);
    EXPECT_TRUE(sessionsBecome(1));
    EXPECT_EQ(connect(client, other.url()), "0");  // again, where it is
    EXPECT_EQ(other.sessionCount(), 1U);
    const RefusingPort refusing;
    struct Case {
        std::string url;
        unsigned code;
    };
    const Case cases[] = {
        {refusing.url(), UA_STATUSCODE_BADCONNECTIONREJECTED},
        {"opc.tcp://" + std::string(300, 'h') + ":4840", UA_STATUSCODE_BADCONNECTIONCLOSED},
        {"", UA_STATUSCODE_BADTCPENDPOINTURLINVALID},
        {"http://127.0.0.1:1", UA_STATUSCODE_BADTCPENDPOINTURLINVALID},
        {"opc.tcp://127.0.0.1:99999", UA_STATUSCODE_BADTCPENDPOINTURLINVALID},
        {"%s%n", UA_STATUSCODE_BADTCPENDPOINTURLINVALID},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(connect(client, c.url), statusError(c.code, cannotConnect(c.url)));
        EXPECT_EQ(state(client), "0, " + std::to_string(c.code) + ", 0, 8, 0, 0");
    }
    EXPECT_EQ(connect(client), "0");
    EXPECT_EQ(read(client), "0");
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, AUserIsCheckedAndStaysForConnectsByUrlAlone) {
    plant::PlantOptions options;
    options.allowAnonymous = false;
    TestServer guarded(options);
    const long client = host_->newClient();
    const std::string anonymousRefused =
        statusError(UA_STATUSCODE_BADIDENTITYTOKENREJECTED, cannotConnect(guarded.url()));
    EXPECT_EQ(connect(client, guarded.url()), anonymousRefused);
    for (const auto& [user, password] : {std::pair{"operator", "wrong"}, {"nobody", "plant-7"}}) {
        EXPECT_EQ(connectUser(client, guarded.url(), user, password),
                  statusError(UA_STATUSCODE_BADUSERACCESSDENIED, cannotConnect(guarded.url())));
        EXPECT_EQ(state(client), "0, 2149515264, 0, 7, 0, 0");
        EXPECT_EQ(guarded.sessionCount(), 0U);
    }
    EXPECT_EQ(connectUser(client, guarded.url(), "operator", "plant-7"), "0");
    EXPECT_EQ(connect(client, guarded.url()), "0");
    EXPECT_EQ(read(client), "0");
    EXPECT_EQ(setUp(*host_, client, {}).text(), "0");  // forgets the user
    EXPECT_EQ(connect(client, guarded.url()), anonymousRefused);
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, AFrozenServerCostsTwiceTheTimeoutAtMost) {
    constexpr long timeout = 400;
    ServerProcess frozen;
    const long client = host_->connectedClient(frozen.url(), timeout);
    struct Case {
        std::function<std::string()> call;
        std::string answer;
        long bound;
    };
    const Case cases[] = {
        {[&] { return connect(client, frozen.url()); }, timedOut(frozen.url(), timeout),
         2 * timeout},
        {[&] { return read(client); },
         statusError(UA_STATUSCODE_BADTIMEOUT,
                     "Error encountered during execution of read request"),
         timeout},
        {[&] { return disconnect(client); }, "0", timeout},
        {[&] { return setUp(*host_, client, {.timeout = timeout}).text(); }, "0", timeout},
        {[&] { return host_->call("zfDestroyClientB", client).text(); }, "0", timeout},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(connect(client, frozen.url()), "0");
        frozen.freeze();
        const auto took = timeOf([&] { EXPECT_EQ(c.call(), c.answer); });
        EXPECT_LT(took.count(), c.bound + kMargin);
        frozen.thaw();
    }
}

/// Whoever did not answer the last request is not waited for again.
TEST_F(LifecycleTest, AGoodByeToASilentServerIsSentButNotWaitedFor) {
    constexpr long timeout = 1000;
    ServerProcess frozen;
    const long client = host_->connectedClient(frozen.url(), timeout);
    const std::function<void()> goodByes[] = {
        [&] { disconnect(client); },
        [&] { setUp(*host_, client, {.timeout = timeout}); },
        [&] { host_->call("zfDestroyClientB", client); },
    };
    for (const auto& goodBye : goodByes) {
        ASSERT_EQ(connect(client, frozen.url()), "0");
        frozen.freeze();
        ASSERT_NE(read(client), "0");
        EXPECT_LT(timeOf(goodBye).count(), timeout / 2);
        frozen.thaw();
    }
}

/// The stack's loop would wait 100 ms for a connection that is closed already.
TEST_F(LifecycleTest, ADisconnectFromAServerThatWorksIsQuick) {
    const long client = host_->connectedClient(server_->url());
    long best = 1000;
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(connect(client, server_->url()), "0");
        best = std::min<long>(best, timeOf([&] { disconnect(client); }).count());
    }
    EXPECT_LT(best, 50);
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, TheDeathOfAServerIsAFailureAndHeals) {
    ServerProcess mortal;
    const long client = host_->connectedClient(mortal.url(), 1000);
    mortal.kill();
    EXPECT_EQ(read(client).substr(0, 6), "1, 4, ");
    EXPECT_EQ(read(client).substr(0, 6), "1, 4, ");
    EXPECT_NE(state(client), kConnectedState);
    mortal.start();
    EXPECT_EQ(connect(client, mortal.url()), "0");
    EXPECT_EQ(read(client), "0");
    host_->call("zfDestroyClientB", client);
}

TEST_F(LifecycleTest, ASessionThatEndsWithSubscriptionsNeedsASetUp) {
    ServerProcess mortal;
    const auto follow = [](long client) {
        return host_->call("zfCreateSubscriptionB", client, container(property("Tank1.Level")),
                           20.0, 10000, 100, 0, 0.0, 10, 0);
    };
    const long client = host_->connectedClient(mortal.url(), 1000);
    ASSERT_TRUE(follow(client).ok());
    EXPECT_EQ(disconnect(client), "0");
    EXPECT_EQ(state(client), "0, 2158886912, 0, 8, 0, 1");
    EXPECT_EQ(connect(client, mortal.url()), resetDue());
    EXPECT_EQ(setUp(*host_, client, {}).text(), "0");
    EXPECT_EQ(connect(client, mortal.url()), "0");
    ASSERT_TRUE(follow(client).ok());
    mortal.kill();
    EXPECT_EQ(host_->call("zfDestroyClientB", client).text(), "0");
}

}  // namespace
}  // namespace nimb::test
