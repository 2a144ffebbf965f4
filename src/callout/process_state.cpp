#include "callout/process_state.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "callout/handle_map.h"
#include "client/opcua_client.h"

namespace nimb {

namespace {

ProcessState* state = nullptr;
bool processEnds = false;

void noteEndOfProcess() { processEnds = true; }

// The loader runs it when the library is unloaded, before the library's own exit handlers, and at
// the process's end, behind the exit handlers of all. Then others may still call: their destructors
// can come later. What is left is reachable and goes with the process.
[[gnu::destructor]] void giveBackAtUnloading() {
    if (processEnds) {
        return;
    }
    const CancellationPutOff whileSessionsClose;
    HandleMap<OpcuaClient>::giveBack();
    delete std::exchange(state, nullptr);
}

}  // namespace

ProcessState& processState() {
    if (state == nullptr) [[unlikely]] {
        auto made = std::make_unique<ProcessState>();
        // Without that note the end would look like an unloading: then rather keep everything.
        processEnds = std::atexit(noteEndOfProcess) != 0;
        state = made.release();
    }
    return *state;
}

}  // namespace nimb
