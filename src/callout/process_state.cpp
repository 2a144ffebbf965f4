#include "callout/process_state.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "callout/cancellation.h"
#include "callout/handle_map.h"
#include "client/opcua_client.h"

namespace nimb {

namespace {

ProcessState* state = nullptr;
/// A copy of the process (fork) has the state too, but the sessions are not its own.
pid_t maker = 0;
bool processEnds = false;

void noteEndOfProcess() { processEnds = true; }

/// The loader runs this when the library is unloaded, before the library's own exit handlers, and
/// at the process's end, behind the exit handlers of all. Then clients that live stay: destructors
/// of others may still use them, and what is left is reachable and goes with the process.
[[gnu::destructor]] void giveBack() {
    using Clients = HandleMap<OpcuaClient>;
    const CancellationPutOff whileSessionsClose;
    if ((!processEnds && maker == getpid()) || !Clients::holdsObjects()) {
        Clients::giveBack();
    }
    delete std::exchange(state, nullptr);
}

}  // namespace

ProcessState& processState() {
    if (state == nullptr) [[unlikely]] {
        auto made = std::make_unique<ProcessState>();
        // Without the note the end would look like an unloading: rather keep everything.
        if (std::atexit(noteEndOfProcess) != 0) {
            processEnds = true;
        }
        maker = getpid();
        state = made.release();
    }
    return *state;
}

}  // namespace nimb
