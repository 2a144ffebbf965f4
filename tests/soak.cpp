// Polls a session with subscriptions for a long time and says whether memory and file descriptors
// stayed as they were: soak_test POLLS. Half of the polls are bulk reads, half take changes. Beside
// them, sessions begin and end: one for every ten polls.

#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "following.h"
#include "testbed/host.h"
#include "testbed/server_process.h"

namespace {

using namespace nimb::test;

struct Usage {
    long residentKiB;
    long heapBytes;
    long descriptors;
};

Usage usage() {
    malloc_trim(0);
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return {pages * sysconf(_SC_PAGESIZE) / 1024, static_cast<long>(mallinfo2().uordblks),
            std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})};
}

void report(long polls, const Usage& now) {
    std::printf("%8ld polls: %ld KiB resident, %ld bytes of heap, %ld descriptors\n", polls,
                now.residentKiB, now.heapBytes, now.descriptors);
    std::fflush(stdout);
}

/// The session that is polled: a query over 50 nodes, two subscriptions, one of which is kept full.
class Soak {
  public:
    explicit Soak(const std::string& url) : url_(url), follower_(url) {
        std::vector<nimb::plant::NodeAddress> nodes;
        for (std::uint32_t i = 0; i < 50; ++i) nodes.push_back(nimb::plant::bulkPoint(i));
        const nimb::VeltoList points = specification(nodes);
        query_ = require(follower_.host.call("zfReadBulkSetupC", follower_.client, points));
        taken_ = require(follower_.create(points));
        Parameters small;
        small.maxQueueSize = 100;
        full_ = require(follower_.create(points, small));
    }

    void poll(long count) {
        for (long i = 0; i < count; i += 2) {
            const char* const bulk[] = {"zfReadBulkPoll", "zfReadBulkPollB", "zfReadBulkPollC"};
            require(follower_.host.call(bulk[i / 2 % 3], follower_.client, query_, 1, 2));
            take();
            if (i % 10 == 0) {
                cycle();
            }
            if (i % 1000 == 0) {
                require(follower_.poll(full_, 0, 5, 1));
            }
        }
    }

  private:
    /// Takes all changes that wait, a few lines at a time, as more would not fit into a result.
    void take() {
        for (int polls = 0, waiting = 1; waiting > 0 && polls < 1000; ++polls) {
            const Result taken = follower_.poll(taken_, 0, 4, 1);
            require(taken);
            if (follower_.statistic(taken, lossLeft) != 0) {
                throw std::runtime_error("changes were lost");
            }
            waiting = static_cast<int>(follower_.statistic(taken, left));
        }
    }
    /// A session from its client's creation to its destruction.
    void cycle() {
        Host& host = follower_.host;
        const long client = host.connectedClient(url_);
        require(host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13));
        require(host.call("zfDisconnectB", client));
        require(host.call("zfDestroyClientB", client));
    }
    static long require(const Result& result) {
        if (!result.ok()) {
            throw std::runtime_error(result.text());
        }
        return result.list().size() > 1 ? result[1].AsLong() : 0;
    }

    std::string url_;
    Follower follower_;
    long query_ = 0;
    long taken_ = 0;
    long full_ = 0;
};

bool isFlat(const Usage& before, const Usage& after, long polls) {
#ifdef __SANITIZE_ADDRESS__
    return after.descriptors == before.descriptors;  // it keeps what is freed, and looks for leaks
#endif
    // Queues are fuller or emptier by chance; the registry keeps an entry for each handle given
    // out.
    return after.descriptors == before.descriptors &&
           after.residentKiB - before.residentKiB < 1024 + polls / 100 &&
           after.heapBytes - before.heapBytes < 150000 + polls * 10;
}

bool soak(long polls) {
    ServerProcess server({"--change", "50:10"});
    Soak session(server.url());
    session.poll(polls / 10 + 500);  // until all buffers have the size that they will need
    const Usage before = usage();
    report(0, before);
    constexpr long stages = 10;
    Usage after = before;
    for (long stage = 1; stage <= stages; ++stage) {
        session.poll(polls / stages);
        after = usage();
        report(stage * (polls / stages), after);
    }
    return isFlat(before, after, polls);
}

}  // namespace

int main(int argc, char** argv) try {
    const long polls = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (polls <= 0) {
        std::fprintf(stderr, "usage: %s POLLS\n", argv[0]);
        return 2;
    }
    const bool flat = soak(polls);
    std::printf("%s\n", flat ? "flat" : "not flat");
    return flat ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    return 1;
}
