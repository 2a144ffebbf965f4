// Records what the demonstration plant answers to the session of server_fuzz.cpp and writes it as
// that target's seed: record_transcript FILE. To be run after the session's calls or the stack have
// changed.

#include <cstdio>
#include <fstream>
#include <mutex>
#include <string>

#include "testbed/fault_proxy.h"
#include "testbed/host.h"
#include "testbed/nodes.h"
#include "testbed/test_server.h"
#include "testbed/wait_until.h"

namespace {

using nimb::VeltoList;
using nimb::test::Host;
using nimb::test::listOf;

VeltoList specification() {
    using namespace nimb::plant;
    return nimb::test::specification({tank1Level, numericNode(1020), numericNode(1022)});
}

void play(const std::string& url) {
    Host host;
    const long client = host.connectedClient(url, 5000, 1);
    host.call("zfBrowse", client, listOf(0, 0), listOf(0, 2), listOf(85, 1000));
    host.call("zfReadAttribute", client, 1010, 2, 0, 13);
    host.call("zfWriteAttribute", client, 1500, 6, 1012, 2, 0, 13);
    const long query = host.call("zfReadBulkSetupC", client, specification())[1].AsLong();
    host.call("zfReadBulkPoll", client, query);
    host.call("zfReadBulkPollB", client, query);
    host.call("zfReadBulkPollC", client, query, 0, 2);
    const long subscription = host.call("zfCreateSubscriptionB", client, specification(), 5, 10000,
                                        100, 0, 0, 100, 1000)[1]
                                  .AsLong();
    const bool arrived = nimb::test::waitUntil([&] {
        return host.call("zfPollSubscription", client, subscription, 20, 0, 0)[1].AsLong() > 0;
    });
    if (!arrived) throw std::runtime_error("no values came");
    host.call("zfDeleteSubscription", client, subscription);
    host.call("zfDestroyClientB", client);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    std::string replies(1, '\0');  // the framing is kept
    {
        nimb::test::TestServer server;
        nimb::test::FaultProxy relay(server.port());
        relay.onReply = [&replies](std::string_view bytes) { replies += bytes; };
        play(relay.url());
    }
    std::ofstream(argv[1], std::ios::binary) << replies;
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "record_transcript: %s\n", error.what());
    return 1;
}
