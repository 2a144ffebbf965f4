// How the adapter's cost grows with the size of what it is asked: nodes of a poll, clients in the
// registry, queued notifications, items of an argument list. Prints a Markdown table.

#include <cstdio>
#include <exception>

#include "bench_nodes.h"
#include "cases.h"
#include "checks.h"
#include "processors.h"
#include "queued_changes.h"
#include "report.h"
#include "testbed/server_process.h"
#include "testbed/wait_until.h"

namespace {

using namespace nimb;
using namespace nimb::bench;

void printRow(const char* subject, double size, double nanoseconds) {
    std::printf("| %s | %.0f | %.2f | %.1f |\n", subject, size, nanoseconds / 1000,
                nanoseconds / size);
    std::fflush(stdout);
}

double measured(Entry& entry, int calls) {
    Contest contest;
    contest.adapter.call = [&entry] { entry(); };
    contest.check = [&entry] { entry.call(); };
    return compare(contest, {calls, 1, 50}).adapterCpu;
}

void handles(host::Library& library) {
    for (const int count : {1, 10, 100, 1000}) {
        while (library.callInteger("zfTestGetInt") < count) library.call("zfCreateClientB");
        Entry lookUp(library, "zfReadBulkClear", VeltoList() + count + 0);
        std::printf("| look-up among clients | %d | %.3f | |\n", count,
                    measured(lookUp, 2000) / 1000);
    }
}

void nodes(const Setting& setting) {
    for (const std::uint32_t count : {10U, 25U, 50U, 100U, 200U}) {
        const Contest poll = pollContest(setting, "zfReadBulkPollC", Mix::doubles, count);
        printRow("nodes of a poll C", count, compare(poll, {10, 1, 150}).adapterCpu);
    }
}

void arguments(const Setting& setting) {
    const AdapterSession session(setting.library, setting.url);
    for (const std::size_t count : {1U, 10U, 100U, 500U, 1000U, 2000U}) {
        const VeltoList zeros = repeated(count, 0);
        Entry prepare = session.entry("zfReadBulkSetup",
                                      VeltoList() + zeros + zeros + repeated(count, 70000) + zeros);
        Contest contest;
        contest.adapter.call = [&] {
            const long handle = prepare.call().at(0).AsLong();
            session.entry("zfReadBulkClear", VeltoList() + handle)();
        };
        contest.check = [] {};
        printRow("nodes of a bulk set-up", static_cast<double>(count),
                 compare(contest, {20, 1, 50}).adapterCpu);
    }
}

/// Lets the queue fill, freezes the server and drains what has come.
void notifications(host::Library& library) {
    for (const double wanted : {10.0, 100.0, 1000.0, 10000.0}) {
        test::ServerProcess server(NIMB_BENCH_SERVER,
                                   {"--change", std::to_string(QueuedChanges::items) + ":5"});
        QueuedChanges queue(library, server.url());
        require(test::waitUntil([&] { return queue.length() >= wanted; }), "queued notifications");
        server.freeze();
        const double queued = queue.length();
        const double before = threadCpu();
        for (double left = queued; left > 0;) left = queue.drainOnce();
        printRow("queued notifications", queued, threadCpu() - before);
        server.thaw();
    }
}

}  // namespace

int main() {
    try {
        takeFirstProcessor();
        host::Library library(NIMB_LIBRARY_PATH);
        std::printf("| Size of | Size | CPU, µs | ns per unit |\n|---|---|---|---|\n");
        handles(library);
        const test::ServerProcess server(NIMB_BENCH_SERVER, {});
        const Setting setting{library, server.url()};
        nodes(setting);
        notifications(library);
        arguments(setting);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-linearity-bench: %s\n", error.what());
        return 1;
    }
}
