#pragma once

#include <pthread.h>

#include "list/velto_list.h"

namespace nimb {

/// What the calls of a process share beside the registry of clients. Hosts call from exit handlers
/// and destructors too, so it is made at first use and stays at the process's end; unloading the
/// library gives it back. docs/architecture.md lists all state of the process.
struct ProcessState {
    /// Where a call's results are put together. Kept between calls, because the host makes one call
    /// at a time and a poll's results are tens of kilobytes.
    VeltoList results;
    /// What zfVersion answers; empty until it is asked.
    VeltoList versionItems;
};

/// @throws std::bad_alloc
ProcessState& processState();

/// Puts off a cancellation of the calling thread (pthread_cancel) until the end of its scope. Its
/// unwinding would end the process at the first function that is noexcept, and leave the stack's
/// objects half changed.
class CancellationPutOff {
  public:
    CancellationPutOff() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    CancellationPutOff(const CancellationPutOff&) = delete;
    CancellationPutOff& operator=(const CancellationPutOff&) = delete;
    // NOLINTNEXTLINE(performance-noexcept-destructor): an asynchronous cancellation begins here
    ~CancellationPutOff() noexcept(false) { pthread_setcancelstate(before_, nullptr); }

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace nimb
