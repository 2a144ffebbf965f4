// The demonstration plant as a program; --help describes it.

#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <exception>

#include "demo_server/options.h"
#include "demo_server/service.h"

namespace {

std::atomic<bool> stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = true; };
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);  // serving goes on when nobody reads what is said
}

void dieWithParent() {
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);         // also ends a process that is stopped
    if (getppid() != parent) stopped = true;  // it died before the call
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const auto command = nimb::plant::parseCommandLine(argc - 1, argv + 1);
        if (!command.answer.empty()) {
            std::fputs(command.answer.c_str(), stdout);
            return 0;
        }
        stopOnSignals();
        if (command.dieWithParent) dieWithParent();
        nimb::plant::Service(command).run(stopped);
        return 0;
    } catch (const nimb::plant::UsageError& error) {
        std::fprintf(stderr, "nimb-demo-server: %s\nTry --help.\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-demo-server: %s\n", error.what());
        return 1;
    }
}
