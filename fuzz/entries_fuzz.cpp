// Every entry, without a server: a series of calls with any bytes as arguments, on clients that
// were never set up, are set up, failed to be set up and are destroyed.

#include <array>
#include <fstream>
#include <string>

#include "entry_caller.h"
#include "testbed/temp_dir.h"

namespace {

using nimb::VeltoList;
using nimb::fuzz::EntryCaller;
using nimb::fuzz::Input;
using nimb::test::listOf;

/// One client in each of the states that need no server.
class Clients {
  public:
    explicit Clients(EntryCaller& caller) : caller_(caller) {
        for (long& handle : handles_) {
            handle = caller_.newClient();
        }
        setUp(handles_[1], 1);
        setUp(handles_[2], 2);  // a mode that is refused
        caller_.call("zfDestroyClientB", listOf(handles_[3]));
    }
    ~Clients() {
        for (const long handle : handles_) {
            caller_.call("zfDestroyClientB", listOf(handle));
        }
    }
    Clients(const Clients&) = delete;
    Clients& operator=(const Clients&) = delete;

    long pick(Input& input) const { return handles_[input.below(handles_.size())]; }

  private:
    void setUp(long handle, int mode) {
        const std::string none;
        caller_.call("zfSetupClientC", listOf(handle, 100, mode, none, none, none, none, none, 0));
    }

    EntryCaller& caller_;
    std::array<long, 4> handles_{};
};

/// File names of letters only: nothing outside the scratch directory can be named.
std::string makeName(Input& input) {
    std::string name;
    for (const std::uint8_t byte : input.takeBytes(input.below(4))) {
        name += static_cast<char>('a' + byte % 3);
    }
    return name;
}

void setUp(EntryCaller& caller, long handle, Input& input) {
    const auto content = input.takeBytes(input.below(200));
    std::ofstream("a").write(reinterpret_cast<const char*>(content.data()),
                             static_cast<std::streamsize>(content.size()));
    const auto path = [&] { return "./" + makeName(input); };
    const auto uri = input.takeBytes(input.below(20));
    caller.call("zfSetupClientC",
                listOf(handle, input.take<std::int16_t>(), static_cast<int>(input.below(5)), path(),
                       path(), path(), path(), std::string(uri.begin(), uri.end()),
                       static_cast<int>(input.below(4)) - 1));
}

/// Addresses at which nothing can be asked to listen: a connect must fail without a network.
void connect(EntryCaller& caller, long handle, Input& input) {
    const std::string urls[] = {"", "opc.tcp", "opc.tcp://", "opc.tcp://127.0.0.1:x", "http://a"};
    const auto user = input.takeBytes(input.below(20));
    caller.call(input.flag() ? "zfConnectUser" : "zfConnectB",
                listOf(handle, urls[input.below(std::size(urls))],
                       std::string(user.begin(), user.end()), makeName(input)));
}

bool isConnect(const nimb_callout_row& row) {
    return std::string_view(row.name).starts_with("zfConnect");
}

/// Arguments as they come, or behind a handle that has a client.
void callAny(EntryCaller& caller, const nimb_callout_row& row, long handle, Input& input) {
    const bool withHandle = input.flag();
    const auto bytes = input.takeBytes(input.take<std::uint16_t>() % 600);
    if (withHandle) {
        VeltoList arguments = listOf(handle);
        arguments.appendList(nimb::VeltoROList(bytes.data(), bytes.size()));
        caller.call(row, {arguments.data(), arguments.datalength()},
                    static_cast<std::uint16_t>(arguments.datalength()));
        return;
    }
    const bool tooLong = input.below(16) == 0;
    caller.call(row, bytes,
                static_cast<std::uint16_t>(tooLong ? 0x8000 | bytes.size() : bytes.size()));
}

void callOne(EntryCaller& caller, const Clients& clients, Input& input) {
    constexpr std::size_t rows = 46;
    const nimb_callout_row& row = GetZFTable(nullptr, nullptr)[input.below(rows)];
    const std::string_view name = row.name;
    const long handle = clients.pick(input);
    if (name == "zfSetupClientC") {
        setUp(caller, handle, input);
    } else if (name == "zfSetLogFile") {
        caller.call(name, listOf(makeName(input)));
    } else if (isConnect(row)) {
        connect(caller, handle, input);
    } else {
        callAny(caller, row, handle, input);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const nimb::test::WorkingDir directory;
    constexpr int maxCalls = 40;
    EntryCaller caller;
    Input input(data, size);
    {
        const Clients clients(caller);
        for (int i = 0; i < maxCalls && !input.empty(); ++i) {
            callOne(caller, clients, input);
        }
    }
    caller.call("zfSetLogFile", listOf(std::string()));
    std::error_code ignored;
    for (const auto& file : std::filesystem::directory_iterator(".")) {
        std::filesystem::remove(file.path(), ignored);
    }
    return 0;
}
