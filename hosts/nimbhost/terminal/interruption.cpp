#include "nimbhost/terminal/interruption.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include "nimbhost/terminal/input_mode.h"

namespace nimb::nimbhost {

namespace {

std::atomic<int> arrived{0};
std::atomic<int> count{0};
static_assert(std::atomic<int>::is_always_lock_free, "set by a signal handler");

void mark(int signal) {
    constexpr int patience = 3;
    arrived = signal;
    if (signal != SIGPIPE && ++count == patience) {
        restoreTerminal();
        ::_exit(128 + signal);
    }
}

}  // namespace

void catchSignals() noexcept {
    struct sigaction action {};
    action.sa_handler = mark;  // not restarted: who waits for input is to hear of it
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        ::sigaction(signal, &action, nullptr);
    }
}

int pendingSignal() noexcept { return arrived; }

void forgetSignal() noexcept {
    arrived = 0;
    count = 0;
}

void checkInterrupted() {
    if (arrived != 0) throw Interrupted(arrived);
}

void interruptibleSleep(std::chrono::milliseconds duration) {
    using Clock = std::chrono::steady_clock;
    constexpr auto step = std::chrono::milliseconds(20);
    const Clock::time_point end = Clock::now() + duration;
    for (;;) {
        checkInterrupted();
        const auto left = end - Clock::now();
        if (left <= Clock::duration::zero()) return;
        std::this_thread::sleep_for(std::min<Clock::duration>(left, step));
    }
}

}  // namespace nimb::nimbhost
