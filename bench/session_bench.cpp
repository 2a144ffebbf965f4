// What a session costs beside its calls: the time to close it, on the wall clock, for most of it is
// waiting, and its memory beside that of a session of the bare stack. Prints Markdown tables.

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "checks.h"
#include "compare.h"
#include "demo_server/address_space.h"
#include "processors.h"
#include "queued_changes.h"
#include "report.h"
#include "testbed/heap.h"
#include "testbed/server_process.h"
#include "testbed/wait_until.h"

namespace {

using namespace nimb;
using namespace nimb::bench;

template <typename Work>
double milliseconds(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

/// Every client and its session at the server take descriptors of their own; the server inherits
/// the limit.
void allowManyFiles() {
    rlimit files{};
    require(getrlimit(RLIMIT_NOFILE, &files) == 0, "the limit of open files");
    files.rlim_cur = files.rlim_max;
    require(setrlimit(RLIMIT_NOFILE, &files) == 0, "a higher limit of open files");
}

constexpr int times = 21;

void printTime(const char* subject, double target, double time) {
    std::printf("| %s | %.0f | %s |\n", subject, target, figure(2, time, target).c_str());
}

/// What a reconnect cannot do without: the server needs most of it to make a session.
double bareConnect(const std::string& url) {
    const RawSession session(url);
    std::vector<double> connects;
    for (int i = 0; i < times; ++i) {
        UA_Client_disconnect(session.client());
        connects.push_back(milliseconds([&] { UA_Client_connect(session.client(), url.c_str()); }));
    }
    return medianOf(connects);
}

void closing(host::Library& library, const std::string& url, std::size_t clients) {
    std::printf("| Closing | Target, ms | wall, ms |\n|---|---|---|\n");
    std::vector<double> disconnects;
    std::vector<double> reconnects;
    {
        const AdapterSession session(library, url);
        Entry disconnect = session.entry("zfDisconnectB");
        Entry connect = session.entry("zfConnectB", VeltoList() + url);
        for (int i = 0; i < times; ++i) {
            reconnects.push_back(milliseconds([&] { connect.call(); }));
            disconnects.push_back(milliseconds([&] { disconnect.call(); }));
            connect.call();
        }
    }
    printTime("disconnect", 5, medianOf(disconnects));
    printTime("reconnect", 15, medianOf(reconnects));
    std::printf("| the bare stack's connect, for comparison | | %.2f |\n", bareConnect(url));
    std::vector<std::unique_ptr<AdapterSession>> sessions;
    for (std::size_t i = 0; i < clients; ++i) {
        sessions.push_back(std::make_unique<AdapterSession>(library, url));
    }
    const std::string name = std::to_string(clients) + " connected clients destroyed";
    printTime(name.c_str(), 5000, milliseconds([&] { sessions.clear(); }));
}

double heapBytes() { return static_cast<double>(test::heapInUse()); }

/// Bytes of the heap that each of what `make` makes holds, the first one apart.
template <typename Make>
double bytesEach(Make make) {
    constexpr std::size_t count = 32;
    std::vector<decltype(make())> made;
    made.reserve(count + 1);
    made.push_back(make());
    const double before = heapBytes();
    for (std::size_t i = 0; i < count; ++i) made.push_back(make());
    return (heapBytes() - before) / count;
}

/// Bytes of a double with its times as the stack keeps it: in an array of such values.
double bytesOfStackValue() {
    constexpr std::size_t count = 1000;
    double number = 1;
    UA_DataValue value{};
    UA_Variant_setScalar(&value.value, &number, &UA_TYPES[UA_TYPES_DOUBLE]);
    value.hasValue = value.hasSourceTimestamp = value.hasServerTimestamp = true;
    const double before = heapBytes();
    std::vector<plant::OwnedDataValue> values(count);
    for (plant::OwnedDataValue& copy : values) {
        require(UA_DataValue_copy(&value, copy.get()) == UA_STATUSCODE_GOOD, "a copy");
    }
    return (heapBytes() - before) / count;
}

double bytesOfQueuedChange(host::Library& library) {
    constexpr double few = 500;
    constexpr double many = 10000;
    const test::ServerProcess server(NIMB_BENCH_SERVER,
                                     {"--change", std::to_string(QueuedChanges::items) + ":5"});
    QueuedChanges queue(library, server.url());
    const auto fillTo = [&](double wanted) {
        double length = 0;
        require(test::waitUntil([&] { return (length = queue.length()) >= wanted; }), "changes");
        return length;
    };
    const double begin = fillTo(few);
    const double before = heapBytes();
    const double end = fillTo(many);
    return (heapBytes() - before) / (end - begin);
}

void printMemory(const char* subject, const char* target, double bytes, double most, double raw) {
    std::printf("| %s | %s | %s | %.0f |\n", subject, target, figure(0, bytes, most).c_str(), raw);
    std::fflush(stdout);
}

void memory(host::Library& library, const std::string& url) {
    constexpr double eightKilobytes = 8192;
    constexpr double share = 1.2;
    std::printf(
        "| Heap in use | Target | adapter, bytes | bare stack, bytes |\n|---|---|---|---|\n");
    const double client = bytesEach([&] { return std::make_unique<AdapterSession>(library, url); });
    const double raw = bytesEach([&] { return std::make_unique<RawSession>(url); });
    printMemory("a connected client", "8 KiB more", client, raw + eightKilobytes, raw);
    const double value = bytesOfStackValue();
    printMemory("a queued change of a double", "1.2 times", bytesOfQueuedChange(library),
                share * value, value);
}

}  // namespace

int main(int count, char** arguments) {
    try {
        takeFirstProcessor();
        allowManyFiles();
        const std::size_t clients = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 1000;
        host::Library library(NIMB_LIBRARY_PATH);
        const test::ServerProcess server(NIMB_BENCH_SERVER, {});
        closing(library, server.url(), clients);
        std::printf("\n");
        memory(library, server.url());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-session-bench: %s\n", error.what());
        return 1;
    }
}
