// A session with a server that answers anything: connect, browse, read, write, bulk reads and
// subscriptions against recorded replies, mutated. Without the recorded session in the corpus
// (record_transcript) a fuzzer gets no further than the first message.

#include <string>

#include "entry_caller.h"
#include "hostile_server.h"
#include "testbed/nodes.h"

namespace {

using nimb::VeltoList;
using nimb::fuzz::EntryCaller;
using nimb::fuzz::HostileServer;
using nimb::fuzz::Input;
using nimb::test::listOf;

constexpr int kTimeout = 200;  // milliseconds

VeltoList specification() {
    using namespace nimb::plant;
    return nimb::test::specification({tank1Level, numericNode(1020), numericNode(1022)});
}

/// The calls of the recorded session, in its order.
class Session {
  public:
    Session(EntryCaller& caller, const HostileServer& server)
        : caller_(caller), server_(server), client_(caller.newClient()) {
        const std::string none;
        caller_.call("zfSetupClientC",
                     listOf(client_, kTimeout, 1, none, none, none, none, none, 1));
    }
    ~Session() { caller_.call("zfDestroyClientB", listOf(client_)); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void run() {
        call("zfConnectB", server_.url());
        call("zfBrowse", listOf(0, 0), listOf(0, 2), listOf(85, 1000));
        call("zfReadAttribute", 1010, 2, 0, 13);
        call("zfWriteAttribute", 1500, 6, 1012, 2, 0, 13);
        call("zfReadBulkSetupC", specification());
        call("zfReadBulkPoll", 1);
        call("zfReadBulkPollB", 1);
        call("zfReadBulkPollC", 1, 0, 2);
        const long subscription = follow();
        for (int i = 0; i < 3; ++i) {
            call("zfPollSubscription", subscription, 20, 0, 0);
        }
        call("zfGetClientStateD");
        call("zfDeleteSubscription", subscription);
        call("zfDisconnectB");
    }

  private:
    // Once the connection has ended every further call would only wait for the timeout.
    template <typename... T>
    nimb::VeltoROList call(const char* entry, const T&... arguments) {
        if (server_.finished()) {
            return {};
        }
        return caller_.call(entry, listOf(client_, arguments...));
    }

    long follow() {
        const auto created =
            call("zfCreateSubscriptionB", specification(), 5, 10000, 100, 0, 0, 100, 1000);
        return created.empty() || created.at(0).AsLong() != 0 ? 1 : created.at(1).AsLong();
    }

    EntryCaller& caller_;
    const HostileServer& server_;
    const long client_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    EntryCaller caller;
    Input input(data, size);
    const std::size_t framing = input.below(8);  // mostly kept, to get far
    std::vector<nimb::fuzz::Damage> damages;
    if (framing == nimb::fuzz::kDamagedFraming) {
        damages.resize(input.below(16));
        for (auto& damage : damages) {
            damage = nimb::fuzz::Damage::take(input);
        }
    }
    HostileServer server(input.takeAll(),
                         framing == 7   ? HostileServer::Framing::stream
                         : framing == 6 ? HostileServer::Framing::asIs
                                        : HostileServer::Framing::kept,
                         std::move(damages));
    Session(caller, server).run();
    return 0;
}
