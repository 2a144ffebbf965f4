// Servers that break the protocol, through a relay that changes what a real one answers: the call
// fails in time, the log says what was refused, and the process lives.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "following.h"
#include "sessions_support.h"
#include "testbed/fault_proxy.h"
#include "testbed/host.h"
#include "testbed/server_process.h"
#include "testbed/test_server.h"

namespace {

/// A name that has an IPv6 address, where no test listens, before an IPv4 one.
constexpr const char* dualStackName = "dual-stack.test";

}  // namespace

/// In place of the C library's, also for the library under test.
extern "C" [[gnu::visibility("default")]] int getaddrinfo(const char* node, const char* service,
                                                          const addrinfo* hints, addrinfo** found) {
    static const auto real =
        reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (node == nullptr || std::strcmp(node, dualStackName) != 0) {
        return real(node, service, hints, found);
    }
    const int error = real("::1", service, hints, found);
    return error != 0 ? error : real("127.0.0.1", service, hints, &(*found)->ai_next);
}

namespace nimb::test {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds timeout{500};
constexpr milliseconds margin{700};  // for machines that do other work as well

std::uint32_t sizeAt(const std::string& bytes, std::size_t at) {
    std::uint32_t size = 0;
    std::memcpy(&size, bytes.data() + at + 4, sizeof size);
    return size;
}

/// Where in a run of whole chunks the message begins whose body is of that type.
std::optional<std::size_t> find(const std::string& run, std::uint16_t type) {
    for (std::size_t at = 0; at + 28 <= run.size() && sizeAt(run, at) != 0; at += sizeAt(run, at)) {
        if (run.compare(at, 3, "MSG") == 0 &&
            std::memcmp(run.data() + at + 26, &type, sizeof type) == 0) {
            return at;
        }
    }
    return std::nullopt;
}

constexpr std::uint16_t readResponse = 634;

class TransportTest : public ::testing::Test {
  protected:
    TransportTest() {
        log_.begin();
        client_ = host_.newClient(static_cast<int>(timeout.count()));
    }
    ~TransportTest() override { host_.call("zfDestroyClientB", client_); }
    TransportTest(const TransportTest&) = delete;
    TransportTest& operator=(const TransportTest&) = delete;

    Result connect(const std::string& url) { return host_.call("zfConnectB", client_, url); }
    Result read() { return host_.call("zfReadAttribute", client_, "Tank1.Level", 2, 3, 13); }

    /// Everything that makes a server answer, up to the first failure.
    bool session(const std::string& url) {
        if (!connect(url).ok() || !read().ok()) return false;
        const Result created =
            host_.call("zfCreateSubscriptionB", client_, specification({plant::tank1Level}), 20.0,
                       10000, 100, 0, 0.0, 10, 0);
        if (!created.ok()) return false;
        const milliseconds patience = timeout;
        const auto start = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - start < patience) {
            host_.call("zfPollSubscription", client_, created[1].AsLong(), 20, 0, 0);
        }
        return read().ok();
    }

    Host host_;
    LogFolder log_{host_};
    // What the relay's thread looks at until it ends.
    std::atomic<bool> hostile_ = false;
    std::atomic<bool> granted_ = false;
    std::function<std::string(const std::string&)> answer_;

    TestServer server_;
    FaultProxy relay_{server_.port()};
    long client_ = 0;
};

struct Reply {
    const char* name;
    std::uint16_t type;
};

class UndecodableReply : public TransportTest, public ::testing::WithParamInterface<Reply> {};

TEST_P(UndecodableReply, IsRefusedBeforeTheStackSeesIt) {
    hostile_ = true;
    relay_.onReply = [&](std::string& run) {
        const auto at = find(run, GetParam().type);
        if (hostile_ && at) run[*at + 24] = '\xff';
    };
    session(relay_.url());
    EXPECT_TRUE(
        log_.has("Connection closed, the server sent", "a response whose type cannot be decoded"));
    hostile_ = false;
    ASSERT_TRUE(setUp(host_, client_, {.timeout = 5000}).ok());
    EXPECT_TRUE(session(relay_.url()));
}

INSTANTIATE_TEST_SUITE_P(All, UndecodableReply,
                         ::testing::Values(Reply{"FindServers", 425}, Reply{"GetEndpoints", 431},
                                           Reply{"CreateSession", 464},
                                           Reply{"ActivateSession", 470},
                                           Reply{"Read", readResponse}, Reply{"Publish", 829}),
                         [](const auto& param) { return param.param.name; });

std::string chunk(const std::string& type, std::uint32_t size) {
    std::string bytes = type + std::string(4, '\0') + std::string(size - 8, '\1');
    std::memcpy(bytes.data() + 4, &size, sizeof size);
    return bytes;
}

/// Chunk after chunk behind the headers of that message, which goes on and on.
std::string endless(const std::string& reply) {
    constexpr std::size_t headers = 24;
    constexpr std::size_t sequenceNumberAt = 16;
    std::string bytes;
    for (std::uint32_t i = 0; bytes.size() < (5u << 20); ++i) {
        std::string chunk = reply.substr(0, headers) + std::string(65000 - headers, '\1');
        const auto size = static_cast<std::uint32_t>(chunk.size());
        std::uint32_t sequenceNumber = 0;
        std::memcpy(&sequenceNumber, chunk.data() + sequenceNumberAt, sizeof sequenceNumber);
        sequenceNumber += i;
        std::memcpy(chunk.data() + sequenceNumberAt, &sequenceNumber, sizeof sequenceNumber);
        std::memcpy(chunk.data() + 4, &size, sizeof size);
        chunk[3] = 'C';
        bytes += chunk;
    }
    return bytes;
}

/// In place of the answer to a read. The call ends with the connection, not with the timeout, and
/// whatever follows finds the connection closed.
TEST_F(TransportTest, WhatNoServerSendsEndsTheConnectionAtOnce) {
    const auto instead = [](std::string bytes) {
        return [bytes = std::move(bytes)](const std::string&) { return bytes; };
    };
    const std::pair<std::function<std::string(const std::string&)>, std::string> cases[] = {
        {instead(chunk("HELF", 57)), "a message that only clients send"},
        {instead(chunk("CLOF", 57)), "a message that only clients send"},
        {instead(chunk("XYZF", 57)), "a chunk of an unknown type"},
        {instead(std::string("MSGF\7\0\0\0", 8)), "a chunk smaller than its headers"},
        {endless, "a message above 4 MiB or of more than 1024 chunks"},
    };
    answer_ = instead("");
    relay_.onReply = [&](std::string& run) {
        if (find(run, readResponse)) run = answer_(run);
    };
    for (const auto& [change, refused] : cases) {
        SCOPED_TRACE(refused);
        log_.begin();
        ASSERT_TRUE(setUp(host_, client_, {.timeout = timeout.count()}).ok());
        ASSERT_TRUE(connect(relay_.url()).ok());
        answer_ = change;  // the relay has nothing to do
        EXPECT_LT(timeOf([&] {
                      const std::string text = read().text();
                      EXPECT_NE(text.find("[BadSecureChannelClosed]"), std::string::npos) << text;
                  }),
                  timeout);
        EXPECT_TRUE(log_.has("Connection closed, the server sent", refused));
        EXPECT_LT(timeOf([&] { host_.call("zfDisconnectB", client_); }), timeout);
    }
}

/// Without end, as the stack would make connection after connection until the timeout.
TEST_F(TransportTest, APeerThatAcceptsAndClosesIsTriedOnce) {
    relay_.set(Fault::cut);
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(connect(relay_.url()).ok()); }), timeout);
    EXPECT_EQ(relay_.connectionsSeen(), 1);
    relay_.set(Fault::none);
    EXPECT_TRUE(connect(relay_.url()).ok());
    EXPECT_EQ(relay_.connectionsSeen(), 2);
}

/// The network acknowledges what nobody reads until its buffers are full; then a send has to wait.
TEST_F(TransportTest, SendsToAPeerThatStoppedReadingEndInTime) {
    constexpr milliseconds shortTimeout{40};
    constexpr int mostWrites = 300;  // above 8 MB
    ASSERT_TRUE(setUp(host_, client_, {.timeout = shortTimeout.count()}).ok());
    ASSERT_TRUE(waitUntil([&] { return connect(relay_.url()).ok(); }));
    relay_.set(Fault::freeze);
    const std::string text(30000, 'x');
    std::string answer = "[BadTimeout]";
    for (int i = 0; i < mostWrites && answer.find("[BadTimeout]") != std::string::npos; ++i) {
        EXPECT_LT(timeOf([&] {
                      answer =
                          host_.call("zfWriteAttribute", client_, text, 11, 4011, 2, 0, 13).text();
                  }),
                  shortTimeout + margin);
    }
    EXPECT_NE(answer.find("Closed]"), std::string::npos) << answer;
}

TEST_F(TransportTest, SocketsAreNotInheritedByProgramsOfTheHost) {
    const ServerProcess elsewhere;
    ASSERT_TRUE(connect(elsewhere.url()).ok());
    server_.stop();
    relay_.set(Fault::cut);
    int sockets = 0;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir("/proc/self/fd"), closedir);
    while (const dirent* entry = readdir(open.get())) {
        const int descriptor = std::atoi(entry->d_name);
        struct stat status {};
        if (fstat(descriptor, &status) != 0 || !S_ISSOCK(status.st_mode)) continue;
        ++sockets;
        EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << "descriptor " << descriptor;
    }
    EXPECT_GT(sockets, 0);
}

TEST_F(TransportTest, EveryAddressOfANameIsTried) {
    const std::string url =
        "opc.tcp://" + std::string(dualStackName) + ':' + std::to_string(server_.port());
    EXPECT_EQ(connect(url).text(), "0") << log_.text();
    EXPECT_TRUE(read().ok());
    server_.stop();
    EXPECT_LT(timeOf([&] { EXPECT_FALSE(connect(url).ok()); }), timeout + margin);
}

/// Sessions of killed hosts keep a server's places for as long as was asked for.
TEST_F(TransportTest, AsksForASessionOfFiveMinutes) {
    constexpr double asked = 5 * 60 * 1000;
    const std::string bytes(reinterpret_cast<const char*>(&asked), sizeof asked);
    relay_.onReply = [&](const std::string& run) {
        granted_ = granted_ || (find(run, 464) && run.find(bytes) != std::string::npos);
    };
    ASSERT_TRUE(connect(relay_.url()).ok());
    EXPECT_TRUE(granted_);
}

}  // namespace
}  // namespace nimb::test
