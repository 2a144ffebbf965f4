#pragma once

#include <chrono>
#include <exception>

namespace nimb::nimbhost {

/// SIGINT, SIGTERM, SIGHUP or SIGPIPE has come. Thrown between two calls, so that every session is
/// closed on the way out; a call under way ends first, within its timeout.
class Interrupted : public std::exception {
  public:
    explicit Interrupted(int signal) noexcept : signal_(signal) {}
    const char* what() const noexcept override { return "interrupted"; }
    int signal() const noexcept { return signal_; }

  private:
    int signal_;
};

/// From now on the signals only leave a mark. The third one ends the process at once.
void catchSignals() noexcept;

/// The signal that has come, or 0.
int pendingSignal() noexcept;
/// Forgets it: the shell goes on after Ctrl-C.
void forgetSignal() noexcept;

/// Throws Interrupted if a signal has come.
void checkInterrupted();

/// Sleeps; throws Interrupted as soon as a signal comes.
void interruptibleSleep(std::chrono::milliseconds duration);

}  // namespace nimb::nimbhost
