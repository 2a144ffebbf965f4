// Every entry that uses the network, under every fault of the network: it returns in time, its
// result says what happened, and after a set-up and a connect everything works again.
// docs/faults.md shows the outcomes as a table.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "demo_server/plant_nodes.h"
#include "failures.h"
#include "following.h"
#include "testbed/fault_proxy.h"
#include "testbed/host.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds timeout{300};
/// What a call may take beyond the timeouts: the end of a channel takes the stack 100 ms, the rest
/// is for machines that do other work as well.
constexpr milliseconds margin{700};

/// Behind this time without a call, what happened meanwhile is taken in before the next.
constexpr milliseconds idleTime{100};

/// A client that is connected to the plant through the relay.
struct Session {
    Session() : relay(server.port()), client(host.bareClient()) {}
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
    connect,   ///< a failure list with the fault's status for connects
    request,   ///< the same with its status for requests
    setUpDue,  ///< a subscription was lost with the session that the connect closes first
    browse,    ///< success without contents
    poll,      ///< success without lines; a restarted server does not know the subscription
    removal,   ///< as a request; a server that was restarted does not know the subscription
    success,   ///< the entry's part is done without the server
};

struct Entry {
    const char* name;
    int timeouts;  ///< how often the entry may wait for the server
    Outcome outcome;
    std::function<Result(Session&)> call;
    bool follows = true;
};

const Entry entries[] = {
    {"connect", 2, Outcome::connect,
     [](Session& s) { return s.host.call("zfConnectB", s.client, s.relay.url()); }, false},
    {"connect while following", 2, Outcome::setUpDue,
     [](Session& s) { return s.host.call("zfConnectB", s.client, s.relay.url()); }},
    {"log in", 2, Outcome::connect,
     [](Session& s) {
         return s.host.call("zfConnectUser", s.client, s.relay.url(), "operator", "plant-7");
     },
     false},
    {"read", 1, Outcome::request,
     [](Session& s) { return s.host.call("zfReadAttribute", s.client, "Tank1.Level", 2, 3, 13); }},
    {"write", 1, Outcome::request,
     [](Session& s) {
         return s.host.call("zfWriteAttribute", s.client, 1.5, 10, "Tank1.SetPoint", 2, 3, 13);
     }},
    {"browse", 1, Outcome::browse,
     [](Session& s) {
         return s.host.call("zfBrowse", s.client, listOf(0), listOf(0), listOf(85));
     }},
    {"poll", 1, Outcome::request,
     [](Session& s) { return s.host.call("zfReadBulkPoll", s.client, s.query); }},
    {"poll B", 1, Outcome::request,
     [](Session& s) { return s.host.call("zfReadBulkPollB", s.client, s.query); }},
    {"poll C", 1, Outcome::request,
     [](Session& s) { return s.host.call("zfReadBulkPollC", s.client, s.query, 1, 2); }},
    {"create subscription", 1, Outcome::request, [](Session& s) { return s.create(); }},
    {"poll subscription", 1, Outcome::poll,
     [](Session& s) {
         return s.host.call("zfPollSubscription", s.client, s.subscription,
                            static_cast<int>(timeout.count()), 0, 1);
     }},
    {"delete subscription", 2, Outcome::removal,
     [](Session& s) { return s.host.call("zfDeleteSubscription", s.client, s.subscription); }},
    {"state", 0, Outcome::success,
     [](Session& s) { return s.host.call("zfGetClientStateD", s.client); }},
    {"disconnect", 1, Outcome::success,
     [](Session& s) { return s.host.call("zfDisconnectB", s.client); }},
    {"destroy", 1, Outcome::success,
     [](Session& s) {
         Result destroyed = s.host.call("zfDestroyClientB", s.client);
         s.client = s.host.bareClient();
         return destroyed;
     }},
};

/// Names of status codes, any of which may come where what happens first is up to the system: a
/// connection ends before or behind the TCP handshake, or the stack's first message.
using Statuses = std::vector<std::string>;

struct FaultCase {
    const char* name;
    std::function<void(Session&)> begin;
    std::function<void(Session&)> end;
    Statuses connects;
    Statuses requests;

    /// The server is back: connects succeed, and so do requests, in a new session.
    [[nodiscard]] bool isOver() const { return connects.empty(); }
};

FaultCase relayed(const char* name, Fault fault, Statuses connects, Statuses requests) {
    return {name, [fault](Session& s) { s.relay.set(fault); },
            [](Session& s) { s.relay.set(Fault::none); }, std::move(connects), std::move(requests)};
}

void expectStatus(const Result& result, const Statuses& statuses) {
    const std::string text = result.text();
    const auto isNamed = [&text](const std::string& name) {
        return text.find("  [" + name + "] ") != std::string::npos;
    };
    EXPECT_TRUE(statuses.empty() ? result.ok()
                                 : text.starts_with("1, 4, ") &&
                                       std::any_of(statuses.begin(), statuses.end(), isNamed))
        << text;
}

/// What requests answer. Behind an idle time, as on a loaded machine, they find the connection
/// ended and try a new one first.
Statuses requestStatuses(const FaultCase& fault, bool soon) {
    Statuses statuses = fault.requests;
    if (!soon) {
        statuses.insert(statuses.end(), fault.connects.begin(), fault.connects.end());
    }
    return statuses;
}

void expectOutcome(const Result& result, Outcome outcome, const FaultCase& fault, bool soon) {
    ASSERT_TRUE(result.written());
    const std::string text = result.text();
    switch (outcome) {
        case Outcome::connect:
            return expectStatus(result, fault.connects);
        case Outcome::request:
            return expectStatus(result, requestStatuses(fault, soon));
        case Outcome::setUpDue:
            EXPECT_EQ(text, resetDue());
            break;
        case Outcome::browse:
            EXPECT_TRUE(fault.isOver() ? result[3].datalength() > 0 : text == "0, 0, \"\", \"\"")
                << text;
            break;
        case Outcome::poll:
            EXPECT_TRUE(fault.isOver() ? text.find("(SERVER DELETED)") != std::string::npos
                                       : text.starts_with("0, 0, \"\", ["))
                << text;
            break;
        case Outcome::removal:
            return expectStatus(result, fault.isOver() ? Statuses{"BadSubscriptionIdInvalid"}
                                                       : requestStatuses(fault, soon));
        case Outcome::success:
            EXPECT_TRUE(result.ok()) << text;
    }
}

class Faults : public ::testing::TestWithParam<FaultCase> {};

TEST_P(Faults, EveryEntryReturnsInTimeAndRecovers) {
    Session session;
    for (const Entry& entry : entries) {
        SCOPED_TRACE(entry.name);
        ASSERT_NO_FATAL_FAILURE(session.open());
        const auto idle = std::chrono::steady_clock::now();
        if (entry.follows) {
            ASSERT_NO_FATAL_FAILURE(session.follow());
        }
        GetParam().begin(session);
        const auto start = std::chrono::steady_clock::now();
        errno = GetParam().name[0] == 'r' ? EAGAIN : EINTR;  // as database processes have it
        const Result result = entry.call(session);
        const auto took = std::chrono::steady_clock::now() - start;
        GetParam().end(session);
        expectOutcome(result, entry.outcome, GetParam(), start - idle < idleTime / 2);
        if (GetParam().isOver() && entry.outcome == Outcome::request) {
            EXPECT_TRUE(
                session.host.call("zfGetClientStateD", session.client).text().ends_with(", 1"))
                << "a set-up is due, as the subscription is lost";
        }
        EXPECT_LE(took, entry.timeouts * timeout + margin);
    }
    ASSERT_NO_FATAL_FAILURE(session.open());
    ASSERT_NO_FATAL_FAILURE(session.follow());
}

const Statuses late = {"BadTimeout"};
const Statuses closed = {"BadSecureChannelClosed"};
const Statuses ended = {"BadConnectionClosed", "BadSecureChannelClosed"};

const FaultCase faults[] = {
    relayed("cut", Fault::cut, ended, closed),
    relayed("reset", Fault::reset, {"BadConnectionRejected", "BadConnectionClosed"},
            {"BadConnectionClosed"}),
    relayed("freeze", Fault::freeze, late, late),
    relayed("halfOpen", Fault::halfOpen, late, late),
    relayed("slow", Fault::slow, late, late),
    {"stop", [](Session& s) { s.server.stop(); }, [](Session& s) { s.server.start(); }, ended,
     closed},
    {"restart",
     [](Session& s) {
         s.server.restart();
         std::this_thread::sleep_for(idleTime);
     },
     [](Session&) {},
     {},
     {}},
};

INSTANTIATE_TEST_SUITE_P(All, Faults, ::testing::ValuesIn(faults),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace nimb::test
