// What a host may do to the library beside calling it: unload it, load it twice, end, cancel a
// thread that waits in it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "sessions_support.h"
#include "testbed/call_buffers.h"
#include "testbed/heap.h"
#include "testbed/loopback_socket.h"
#include "testbed/server_process.h"

namespace nimb::test {
namespace {

namespace fs = std::filesystem;

/// A copy of the library, loaded for as long as this lives: the original stays for other tests.
class LoadedCopy {
  public:
    explicit LoadedCopy(const char* name) : path_(folder_.path() / name) {
        fs::copy_file(NIMB_LIBRARY_PATH, path_);
        load();
    }
    ~LoadedCopy() { unload(); }
    LoadedCopy(const LoadedCopy&) = delete;
    LoadedCopy& operator=(const LoadedCopy&) = delete;

    void load() {
        library_ = dlopen(path_.c_str(), RTLD_NOW | RTLD_GLOBAL);
        if (library_ == nullptr) throw std::runtime_error(dlerror());
        const auto table = reinterpret_cast<decltype(&GetZFTable)>(dlsym(library_, "GetZFTable"));
        rows_ = table(nullptr, nullptr);
    }
    void unload() {
        if (library_ != nullptr) dlclose(std::exchange(library_, nullptr));
    }
    [[nodiscard]] bool isLoaded() const {
        void* found = dlopen(path_.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (found != nullptr) dlclose(found);
        return found != nullptr;
    }
    [[nodiscard]] const nimb_callout_row* rows() const { return rows_; }
    [[nodiscard]] const fs::path& path() const { return path_; }

    template <typename... T>
    Result call(std::string_view entry, const T&... arguments) {
        const nimb_callout_row* row = rows_;
        while (row->name != entry) ++row;
        buffers_.call(*row, listOf(arguments...));
        return buffers_.result();
    }
    long connectedClient(const std::string& url) {
        const long client = call("zfCreateClientB")[1].AsLong();
        call("zfSetupClientC", client, 3000, 1, "", "", "", "", "", 0);
        return call("zfConnectB", client, url).ok() ? client : 0;
    }

  private:
    TempDir folder_;
    fs::path path_;
    void* library_ = nullptr;
    const nimb_callout_row* rows_ = nullptr;
    CallBuffers buffers_;
};

/// Whether the memory at an address may be written.
bool isWritable(const void* address) {
    std::ifstream maps("/proc/self/maps");
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t begin = 0, end = 0;
        char dash = 0;
        std::string permissions;
        fields >> std::hex >> begin >> dash >> end >> permissions;
        if (begin <= wanted && wanted < end) return permissions.at(1) == 'w';
    }
    return false;
}

TEST(HostileHost, TableLeadsIntoItsOwnLibraryAndIsReadOnly) {
    const LoadedCopy first("libfirst.so");
    const LoadedCopy second("libsecond.so");
    for (const LoadedCopy* copy : {&first, &second}) {
        EXPECT_FALSE(isWritable(copy->rows()));
        for (const nimb_callout_row* row = copy->rows(); row->name != nullptr; ++row) {
            Dl_info found{};
            EXPECT_NE(dladdr(reinterpret_cast<void*>(row->function), &found), 0);
            EXPECT_STREQ(found.dli_fname, copy->path().c_str()) << row->name;
        }
    }
}

TEST(HostileHost, UnloadingGivesAllBackAndEndsSessions) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a sanitized library stays loaded";
#endif
    const ServerProcess server;
    LoadedCopy copy("libcopy.so");
    const auto useAndUnload = [&] {
        EXPECT_NE(copy.connectedClient(server.url()), 0);
        EXPECT_TRUE(copy.call("zfVersion").ok());
        copy.unload();
        EXPECT_FALSE(copy.isLoaded());
        copy.load();
    };
    const auto entries = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    useAndUnload();
    const std::size_t memory = test::heapInUse();
    const auto descriptors = entries();
    for (int i = 0; i < 10; ++i) useAndUnload();
    EXPECT_LT(test::heapInUse(), memory + 100000);
    EXPECT_EQ(entries(), descriptors);
}

/// Ends this process as a host that closes its sessions in an exit handler, which it registered
/// before it loaded the library.
void endWithSession(const std::string& url) {
    static std::unique_ptr<LoadedCopy> copy;
    static long client;
    std::atexit([] {
        const bool answered = copy->call("zfVersion")[1].AsAString() == "0.3.0" &&
                              copy->call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13).ok() &&
                              copy->call("zfDestroyClientB", client).ok();
        _exit(answered ? 0 : 1);
    });
    copy = std::make_unique<LoadedCopy>("libcopy.so");
    client = copy->connectedClient(url);
    std::exit(2);  // NOLINT(concurrency-mt-unsafe): the exit handler is what is tested
}

TEST(HostileHost, ExitHandlersFindAllAlive) {
    const ServerProcess server;
    const pid_t host = fork();
    ASSERT_GE(host, 0);
    if (host == 0) endWithSession(server.url());
    int status = -1;
    ASSERT_TRUE(awaitProcess(host, 0, status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(HostileHost, SessionsKeepOffTheNumbersOfClosedStreams) {
    const ServerProcess server;
    const Fork process([&] {
        for (const int stream : {0, 1, 2}) close(stream);
        Host host;
        host.connectedClient(server.url());
        std::string streams;
        for (const int stream : {0, 1, 2})
            streams += fcntl(stream, F_GETFD) < 0 ? "closed " : "open ";
        return streams;
    });
    EXPECT_EQ(process.text(), "closed closed closed ");
}

TEST(HostileHost, ForkThatUnloadsTheLibraryLeavesTheSessionOpen) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a sanitized library stays loaded";
#endif
    const ServerProcess server;
    LoadedCopy copy("libcopy.so");
    const long client = copy.connectedClient(server.url());
    const Fork process([&] {
        copy.unload();
        return std::string(copy.isLoaded() ? "loaded" : "unloaded");
    });
    EXPECT_EQ(process.text(), "unloaded");
    EXPECT_TRUE(copy.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13).ok());
}

TEST(HostileHost, SessionsSurviveSignalsAndTheLackOfDescriptors) {
    const ServerProcess server;
    const Fork process([&] {
        Host host;
        const long client = host.newClient();
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlim_t before = std::exchange(limit.rlim_cur, 0);
        setrlimit(RLIMIT_NOFILE, &limit);
        std::string answers = host.call("zfConnectB", client, server.url()).text().substr(0, 16);
        limit.rlim_cur = before;
        setrlimit(RLIMIT_NOFILE, &limit);
        std::signal(SIGALRM, [](int) {});
        const itimerval storm{{0, 200}, {0, 200}};
        setitimer(ITIMER_REAL, &storm, nullptr);
        answers += host.call("zfConnectB", client, server.url()).text();
        for (int i = 0; i < 200; ++i) {
            if (!host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13).ok()) answers += '!';
        }
        return answers + host.call("zfDestroyClientB", client).text();
    });
    EXPECT_EQ(process.text(), "1, 4, 214761472000");
}

TEST(HostileHost, CancelledThreadFinishesItsCall) {
    const SilentListener silent;
    const Fork process([&] {
        static Host host;
        static const std::string url = silent.url();
        static std::string answer;
        pthread_t thread{};
        pthread_create(
            &thread, nullptr,
            [](void*) -> void* {
                answer = host.call("zfConnectB", host.newClient(300), url).text().substr(0, 20);
                pthread_testcancel();
                answer += "still there";
                return nullptr;
            },
            nullptr);
        pthread_cancel(thread);
        pthread_join(thread, nullptr);
        return answer;
    });
    EXPECT_EQ(process.text(), "1, 4, 2148139008, u\"");
}

}  // namespace
}  // namespace nimb::test
