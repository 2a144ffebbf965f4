// Every entry that uses the network, under every fault of the network: it returns in time, its
// result says what happened, and after a set-up and a connect everything works again.
// docs/faults.md shows the outcomes as a table.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <string>

#include "demo_server/plant_nodes.h"
#include "following.h"
#include "support/fault_proxy.h"
#include "support/host.h"
#include "support/test_server.h"

namespace nimb::test {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds timeout{300};
/// What a call may take beyond the timeouts: the end of a channel takes the stack 100 ms, the rest
/// is for machines that do other work as well.
constexpr milliseconds margin{700};

/// A client that is connected to the plant through the relay.
struct Session {
    Session() : relay(server.port()), client(host.call("zfCreateClientB")[1].AsLong()) {}
    ~Session() { host.call("zfDestroyClientB", client); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// What a host does at first, and again after every failure: a set-up and a connect, then its
    /// query and its subscription, and a poll that must bring the value.
    void open() {
        host.call("zfSetupClientC", client, static_cast<int>(timeout.count()), 1, "", "", "", "",
                  "", 0);
        const Result connected = host.call("zfConnectB", client, relay.url());
        ASSERT_TRUE(connected.ok()) << connected.text();
        query = host.call("zfReadBulkSetupC", client, nodes)[1].AsLong();
        const Result polled = host.call("zfReadBulkPollC", client, query, 1, 2);
        ASSERT_TRUE(polled.ok()) << polled.text();
    }
    void follow() {
        const Result created = create();
        ASSERT_TRUE(created.ok()) << created.text();
        subscription = created[1].AsLong();
    }
    Result create() {
        return host.call("zfCreateSubscriptionB", client, nodes, 20.0, 10000, 100, 0, 0.0, 10, 0);
    }

    TestServer server;
    FaultProxy relay;
    Host host;
    const VeltoList nodes = specification({plant::tank1Level});
    long client = 0;
    long query = 0;
    long subscription = 0;
};

/// What a host gets from an entry under a fault.
enum class Outcome {
    connect,  ///< what the fault makes of a connect
    failure,  ///< what the fault makes of a service call
    nothing,  ///< success without contents: hosts look at the state or poll again
    success,  ///< the entry's part is done without the server
};

struct Entry {
    const char* name;
    int timeouts;  ///< how often the entry may wait for the server
    Outcome outcome;
    std::function<Result(Session&)> call;
    bool follows = true;  ///< with a subscription, whose loss makes a connect want a set-up
};

const Entry entries[] = {
    {"connect", 2, Outcome::connect,
     [](Session& s) { return s.host.call("zfConnectB", s.client, s.relay.url()); }, false},
    {"log in", 2, Outcome::connect,
     [](Session& s) {
         return s.host.call("zfConnectUser", s.client, s.relay.url(), "operator", "plant-7");
     },
     false},
    {"read", 1, Outcome::failure,
     [](Session& s) { return s.host.call("zfReadAttribute", s.client, "Tank1.Level", 2, 3, 13); }},
    {"write", 1, Outcome::failure,
     [](Session& s) {
         return s.host.call("zfWriteAttribute", s.client, 1.5, 10, "Tank1.SetPoint", 2, 3, 13);
     }},
    {"browse", 1, Outcome::nothing,
     [](Session& s) {
         return s.host.call("zfBrowse", s.client, listOf(0), listOf(0), listOf(85));
     }},
    {"poll", 1, Outcome::failure,
     [](Session& s) { return s.host.call("zfReadBulkPoll", s.client, s.query); }},
    {"poll B", 1, Outcome::failure,
     [](Session& s) { return s.host.call("zfReadBulkPollB", s.client, s.query); }},
    {"poll C", 1, Outcome::failure,
     [](Session& s) { return s.host.call("zfReadBulkPollC", s.client, s.query, 1, 2); }},
    {"create subscription", 1, Outcome::failure, [](Session& s) { return s.create(); }},
    {"poll subscription", 1, Outcome::nothing,
     [](Session& s) {
         return s.host.call("zfPollSubscription", s.client, s.subscription,
                            static_cast<int>(timeout.count()), 0, 1);
     }},
    {"delete subscription", 2, Outcome::failure,
     [](Session& s) { return s.host.call("zfDeleteSubscription", s.client, s.subscription); }},
    {"state", 0, Outcome::success,
     [](Session& s) { return s.host.call("zfGetClientStateD", s.client); }},
    {"disconnect", 1, Outcome::success,
     [](Session& s) { return s.host.call("zfDisconnectB", s.client); }},
    {"destroy", 1, Outcome::success,
     [](Session& s) {
         Result destroyed = s.host.call("zfDestroyClientB", s.client);
         s.client = s.host.call("zfCreateClientB")[1].AsLong();
         return destroyed;
     }},
};

struct FaultCase {
    const char* name;
    std::function<void(Session&)> begin;
    std::function<void(Session&)> end;
    /// How the status of a connect begins, and of a service call on the session that was open; ""
    /// for success. A reset comes before or behind the end of the TCP handshake.
    std::string connectStatus = "BadTimeout";
    std::string callStatus = "BadTimeout";
};

FaultCase relayed(const char* name, Fault fault, const std::string& connectStatus = "BadTimeout",
                  const std::string& callStatus = "BadTimeout") {
    return {name, [fault](Session& s) { s.relay.set(fault); },
            [](Session& s) { s.relay.set(Fault::none); }, connectStatus, callStatus};
}

void expectOutcome(const Result& result, Outcome outcome, const FaultCase& fault) {
    ASSERT_TRUE(result.written());
    const std::string text = result.text();
    const std::string& status =
        outcome == Outcome::connect ? fault.connectStatus : fault.callStatus;
    if ((outcome == Outcome::connect || outcome == Outcome::failure) && !status.empty()) {
        EXPECT_TRUE(text.starts_with("1, 4, ") && text.find('[' + status) < text.size())
            << text << " in place of " << status;
        return;
    }
    EXPECT_TRUE(result.ok()) << text;
    if (outcome == Outcome::nothing) {
        EXPECT_TRUE(result[2].datalength() == 0 && result[1].AsLong() == 0) << text;
    }
}

class Faults : public ::testing::TestWithParam<FaultCase> {};

TEST_P(Faults, EveryEntryReturnsInTimeAndRecovers) {
    Session session;
    for (const Entry& entry : entries) {
        SCOPED_TRACE(entry.name);
        ASSERT_NO_FATAL_FAILURE(session.open());
        if (entry.follows) {
            ASSERT_NO_FATAL_FAILURE(session.follow());
        }
        GetParam().begin(session);
        const auto start = std::chrono::steady_clock::now();
        errno = GetParam().name[0] == 'r' ? EAGAIN : EINTR;  // as database processes have it
        const Result result = entry.call(session);
        const auto took = std::chrono::steady_clock::now() - start;
        GetParam().end(session);
        expectOutcome(result, entry.outcome, GetParam());
        EXPECT_LE(took, entry.timeouts * timeout + margin);
    }
    ASSERT_NO_FATAL_FAILURE(session.open());
    ASSERT_NO_FATAL_FAILURE(session.follow());
}

INSTANTIATE_TEST_SUITE_P(
    All, Faults,
    ::testing::Values(relayed("cut", Fault::cut, "BadConnectionClosed", "BadSecureChannelClosed"),
                      relayed("reset", Fault::reset, "BadConnection", "BadConnectionClosed"),
                      relayed("freeze", Fault::freeze), relayed("halfOpen", Fault::halfOpen),
                      relayed("slow", Fault::slow),
                      FaultCase{"stop", [](Session& s) { s.server.stop(); },
                                [](Session& s) { s.server.start(); }, "BadConnectionClosed",
                                "BadSecureChannelClosed"},
                      FaultCase{"restart", [](Session& s) { s.server.restart(); }, [](Session&) {},
                                "", "BadSecureChannelClosed"}),
    [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace nimb::test
