#pragma once

#include <pthread.h>

namespace nimb {

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
