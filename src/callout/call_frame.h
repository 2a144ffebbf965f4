#pragma once

#include "callout/arguments.h"
#include "callout/cancellation.h"
#include "callout/result_writer.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"

namespace nimb {

/// The list that a call builds its results in, empty.
/// @throws std::bad_alloc
VeltoList& emptyResults();

/// Kind 7, code 10 with a handler's tag for its text.
inline UACErr taggedError(const char* tag) {
    UACErr error(UACERR_UNKNOWN, UACErr::kGeneralCode);
    error.text = tag;
    return error;
}

/// The frame around every handler: views the input, runs the operation, turns whatever it raises
/// into an error and writes the result once. Nothing escapes. What hosts get wrong often, too few
/// arguments or a bad handle, is answered without an exception.
/// @param tag        the text of the error for too few arguments and for anything raised that is
///                   not a UACErr
/// @param needed     arguments without which the operation is not run
/// @param operation  called with the arguments and the empty result list; returns the call's error
template <typename Operation>
void callFrame(HostBytes* out, const HostBytes* in, const char* tag, std::size_t needed,
               Operation&& operation) noexcept {
    try {
        VeltoList& results = emptyResults();
        const auto otherwise = [tag] { return taggedError(tag); };
        const Arguments arguments(in);
        const UACErr error = arguments.holds(needed)
                                 ? errorOf([&] { return operation(arguments, results); }, otherwise)
                                 : otherwise();
        UAC_MakeReturnValue(error, results, out, false);
    } catch (...) {
        writeFailureWithoutMemory(out, tag);
    }
}

/// The frame around a handler that talks to a server or writes to the log: the thread is not
/// cancelled during the call. The other handlers do nothing at which a thread is cancelled.
template <typename Operation>
void waitingFrame(HostBytes* out, const HostBytes* in, const char* tag, std::size_t needed,
                  Operation&& operation) {
    const CancellationPutOff duringTheCall;
    callFrame(out, in, tag, needed, operation);
}

/// An operation of the client whose handle is argument 0, for the frames above to run with one
/// argument needed. The handle is looked at before the other arguments.
/// @param needed     arguments without which the operation is not run
/// @param operation  called with the client, the arguments and the empty result list
template <typename Operation>
auto onClient(const char* tag, std::size_t needed, Operation& operation) {
    return [=, &operation](const Arguments& arguments, VeltoList& results) -> UACErr {
        OpcuaClient* client = clientOf(arguments.handle());
        if (client == nullptr) {
            return badHandle();
        }
        return arguments.holds(needed) ? operation(*client, arguments, results) : taggedError(tag);
    };
}

/// The frame around an operation of a client that talks to a server or writes to the log.
template <typename Operation>
void clientFrame(HostBytes* out, const HostBytes* in, const char* tag, std::size_t needed,
                 Operation&& operation) {
    waitingFrame(out, in, tag, 1, onClient(tag, needed, operation));
}

/// The same around one that does neither: to put off a cancellation and allow it again takes a
/// quarter of what such a call takes.
template <typename Operation>
void localClientFrame(HostBytes* out, const HostBytes* in, const char* tag, std::size_t needed,
                      Operation&& operation) {
    callFrame(out, in, tag, 1, onClient(tag, needed, operation));
}

}  // namespace nimb
