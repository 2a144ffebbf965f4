#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

namespace nimb {

/// Keeps SIGXFSZ, which a write beyond the process's file-size limit brings along and which ends
/// the process by default, from this thread for the length of a scope: the write just fails. No
/// handler is set, as handlers are the host's. A signal that was pending before stays pending.
class FileSizeSignalHeld {
  public:
    FileSizeSignalHeld() noexcept {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &signal_, &maskBefore_);
        sigset_t pending;
        pendingBefore_ = sigpending(&pending) == 0 && sigismember(&pending, SIGXFSZ) == 1;
    }
    FileSizeSignalHeld(const FileSizeSignalHeld&) = delete;
    FileSizeSignalHeld& operator=(const FileSizeSignalHeld&) = delete;
    ~FileSizeSignalHeld() { pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr); }

    /// Takes away the signal of a write that has just failed with EFBIG. A host that ignores the
    /// signal gets none; then there is nothing to take.
    void takeSignal() const noexcept {
        constexpr std::timespec dontWait{};
        if (!pendingBefore_) {
            while (sigtimedwait(&signal_, nullptr, &dontWait) < 0 && errno == EINTR) {
            }
        }
    }

  private:
    sigset_t signal_;
    sigset_t maskBefore_;
    bool pendingBefore_;
};

}  // namespace nimb
