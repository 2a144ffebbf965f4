#pragma once

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>

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

/// Takes the numbers of those standard streams that the host has closed, for the length of a scope.
/// A session's socket that got one of them would be sent what the host or its programs print.
class ClosedStreamsTaken {
  public:
    ClosedStreamsTaken() noexcept {
        for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
            if (fcntl(stream, F_GETFD) < 0) {
                // The lowest number that is free: this one.
                taken_[static_cast<std::size_t>(stream)] = open("/dev/null", O_RDWR | O_CLOEXEC);
            }
        }
    }
    ClosedStreamsTaken(const ClosedStreamsTaken&) = delete;
    ClosedStreamsTaken& operator=(const ClosedStreamsTaken&) = delete;
    ~ClosedStreamsTaken() {
        for (const int descriptor : taken_) {
            if (descriptor >= 0) {
                close(descriptor);
            }
        }
    }

  private:
    std::array<int, STDERR_FILENO + 1> taken_{-1, -1, -1};
};

}  // namespace nimb
