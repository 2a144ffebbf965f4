// What the library must never do to the process that it lives in, and how it bears what a host may
// do to it.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "following.h"
#include "host/counted_string.h"
#include "reading_plant.h"
#include "testbed/child_process.h"
#include "testbed/comma_locale.h"
#include "testbed/host.h"
#include "testbed/server_process.h"
#include "testbed/temp_dir.h"

namespace nimb::test {
namespace {

namespace fs = std::filesystem;

std::size_t entriesOf(const char* directory) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory), {}));
}

/// A session from its beginning to its end; the failure of the call that failed, else "".
std::string wholeSession(
    Host& host, const std::string& url, const std::function<void()>& inTheMidst = [] {}) {
    const long client = host.connectedClient(url);
    const VeltoList nodes = specification({plant::tank1Level, plant::matrix2x3});
    const long query = host.call("zfReadBulkSetupC", client, nodes)[1].AsLong();
    const Result created =
        host.call("zfCreateSubscriptionB", client, nodes, 5.0, 10000, 100, 0, 0.0, 10, 0);
    const long subscription = created.ok() ? created[1].AsLong() : 0;
    std::string failures;
    for (const Result& result :
         {created, host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13),
          host.call("zfWriteAttribute", client, 50.25, 10, "Tank1.SetPoint", 2, 3, 13),
          host.call("zfBrowse", client, listOf(0), listOf(0), listOf(85)),
          host.call("zfReadBulkPollC", client, query, 1, 2),
          host.call("zfPollSubscription", client, subscription, 20, 0, 1)}) {
        failures += result.ok() ? "" : result.text() + "\n";
    }
    inTheMidst();
    for (const char* entry : {"zfDisconnectB", "zfDestroyClientB"}) {
        const Result result = host.call(entry, client);
        failures += result.ok() ? "" : result.text() + "\n";
    }
    return failures;
}

std::vector<struct sigaction> signalHandlers() {
    std::vector<struct sigaction> handlers;
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction handler {};
        sigaction(signal, nullptr, &handler);
        handlers.push_back(handler);
    }
    return handlers;
}

bool sameHandler(const struct sigaction& a, const struct sigaction& b) {
    return a.sa_handler == b.sa_handler && a.sa_flags == b.sa_flags;
}

TEST(Process, SessionAddsNoThreadNoHandlerAndNoLocale) {
    const ServerProcess server;
    Host host;
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    const auto handlers = signalHandlers();
    const std::size_t threads = entriesOf("/proc/self/task");
    std::size_t threadsInTheMidst = 0;
    EXPECT_EQ(
        wholeSession(host, server.url(), [&] { threadsInTheMidst = entriesOf("/proc/self/task"); }),
        "");
    EXPECT_EQ(threadsInTheMidst, threads);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    const auto handlersNow = signalHandlers();
    EXPECT_TRUE(std::equal(handlers.begin(), handlers.end(), handlersNow.begin(), sameHandler));
}

TEST(Process, CurrentDirectoryNeedNotExist) {
    const ServerProcess server;
    Host host;
    const fs::path before = fs::current_path();
    {
        const TempDir gone;
        fs::current_path(gone.path());
    }
    EXPECT_EQ(wholeSession(host, server.url()), "");
    fs::current_path(before);
}

TEST(Process, DecimalCommaOfTheHostChangesNothing) {
    const CommaLocale comma;
    const ServerProcess server;
    Host host;
    const long client = host.connectedClient(server.url());
    const auto level = [&] {
        return host.call("zfReadAttribute", client, "Tank1.SetPoint", 2, 3, 13)[4].AsAString();
    };
    EXPECT_TRUE(host.call("zfWriteAttribute", client, "51.5", 10, "Tank1.SetPoint", 2, 3, 13).ok());
    EXPECT_EQ(level(), "51.5");
    host.call("zfDestroyClientB", client);
}

TEST(Process, ForkedChildHasSessionsOfItsOwnAndTheParentGoesOn) {
    const ServerProcess server;
    Host host;
    const long client = host.connectedClient(server.url());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        _exit(wholeSession(host, server.url()).empty() ? 0 : 1);
    }
    int status = -1;
    ASSERT_TRUE(awaitProcess(child, 0, status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const Result read = host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13);
    EXPECT_TRUE(read.ok()) << read.text();
    host.call("zfDestroyClientB", client);
}

TEST(Process, EveryEntryBearsNullAndGarbage) {
    Host host;
    host.call("zfCreateClientB");
    const auto out = std::make_unique<HostBytes>();
    const auto in = std::make_unique<HostBytes>();
    std::minstd_rand random(1);  // NOLINT(cert-msc*): the same garbage in every run
    for (const nimb_callout_row& row : host.library().rows()) {
        SCOPED_TRACE(row.name);
        if (std::strcmp(row.arguments, "Bb") != 0) continue;
        const auto entry = reinterpret_cast<int (*)(HostBytes*, const HostBytes*)>(row.function);
        EXPECT_EQ(entry(nullptr, nullptr), 0);
        EXPECT_EQ(entry(out.get(), nullptr), 0);
        in->length = 0;
        EXPECT_EQ(entry(nullptr, in.get()), 0);
        for (int round = 0; round < 100; ++round) {
            for (unsigned char& byte : in->data) byte = static_cast<unsigned char>(random());
            in->length = static_cast<std::uint16_t>(random());
            // A name made of garbage would be a file in the current directory.
            if (std::strcmp(row.name, "zfSetLogFile") == 0) in->length |= 0x8000;
            EXPECT_EQ(entry(out.get(), in.get()), 0);
        }
    }
}

TEST(Handles, ThousandClientsLiveBesideEachOther) {
    constexpr std::size_t count = 1000;
    const ServerProcess server;
    Host host;
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    std::set<long> clients;
    for (std::size_t i = 0; i < count; ++i) clients.insert(host.newClient());
    EXPECT_EQ(clients.size(), count);
    for (const long client : {*clients.begin(), *clients.rbegin()}) {
        EXPECT_TRUE(host.call("zfConnectB", client, server.url()).ok());
        EXPECT_TRUE(host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13).ok());
    }
    for (const long client : clients) {
        EXPECT_TRUE(host.call("zfDestroyClientB", client).ok());
    }
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
}

}  // namespace
}  // namespace nimb::test
