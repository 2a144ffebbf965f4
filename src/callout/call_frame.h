#pragma once

#include "callout/arguments.h"
#include "callout/result_writer.h"
#include "callout/waiting_call.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"

namespace nimb {

/// The list that a call builds its results in, empty.
/// @throws std::bad_alloc
VeltoList& emptyResults();

/// The frame around every handler: views the input, runs the operation, turns whatever it raises
/// into an error and writes the result once. Nothing escapes.
/// @param tag        the text of the error for anything raised that is not a UACErr
/// @param operation  called with the arguments and the empty result list; returns the call's error
template <typename Operation>
void callFrame(HostBytes* out, const HostBytes* in, const char* tag,
               Operation&& operation) noexcept {
    try {
        VeltoList& results = emptyResults();
        const UACErr error = errorOf([&] { return operation(Arguments(in), results); },
                                     [tag] { return UACErr::unknown("%s", tag); });
        UAC_MakeReturnValue(error, results, out, false);
    } catch (...) {
        writeFailureWithoutMemory(out, tag);
    }
}

/// The frame around a handler that talks to a server or writes to the log: the thread is not
/// cancelled during the call, and no standard stream's number goes to a socket. The other handlers
/// open nothing and do nothing at which a thread is cancelled, and are too short to pay for it.
template <typename Operation>
void waitingFrame(HostBytes* out, const HostBytes* in, const char* tag, Operation&& operation) {
    const CancellationPutOff duringTheCall;
    const ClosedStreamsTaken meanwhile;
    callFrame(out, in, tag, operation);
}

}  // namespace nimb
