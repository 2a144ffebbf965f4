#include <iostream>
#include <thread>
#include "following.h"
#include "sessions_support.h"

namespace nimb::test {
namespace {
using std::chrono::milliseconds;

void run(const char* name, int channel, int session, int idle, bool follow, bool log=false) {
    plant::PlantOptions options;
    options.channelLifetime = milliseconds(channel);
    options.sessionTimeout = milliseconds(session);
    TestServer server(options);
    Host host;
    LogFolder logs(host);
    if (log) logs.begin();
    const long client = host.connectedClient(server.url(), 2000);
    if (follow) std::cout << host.call("zfCreateSubscriptionB", client, specification({plant::tank1Level}), 20.0, 10000, 100, 0, 0.0, 10, 0).text() << "\n";
    for (int i = 0; i < 4; ++i) {
        std::this_thread::sleep_for(milliseconds(idle));
        const std::string before = host.call("zfGetClientStateD", client).text();
        const Result r = host.call("zfReadAttribute", client, "Tank1.Level", 2, 3, 13);
        std::cout << name << " " << i << ": state " << before << " read " << r.text().substr(0, 60)
                  << " state " << host.call("zfGetClientStateD", client).text() << " sessions " << server.sessionCount() << "\n";
        if (follow) std::cout << "   poll " << host.call("zfPollSubscription", client, 1, 50, 0, 0).text().substr(0,80) << host.call("zfGetClientStateD", client).text() << "\n";
    }
    if (log) std::cout << logs.text() << "\n";
    host.call("zfDestroyClientB", client);
}

TEST(Idle, Explore) {
    run("channel gone", 1000, 0, 1600, false);
    run("channel 80%", 1000, 0, 850, false);
    run("session gone", 0, 1000, 1600, false);
    run("both gone", 500, 1000, 1700, false);
    run("channel gone, follow", 1000, 0, 1600, true);
    run("session gone, follow", 0, 1000, 1600, true);
    run("both gone, follow", 500, 1000, 1700, true);
}
}  // namespace
}  // namespace nimb::test
