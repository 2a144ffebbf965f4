// The demonstration plant as a program; see helpText().

#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <exception>

#include "demo_server/options.h"
#include "demo_server/plant_server.h"

namespace {

std::atomic<bool> stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

void stopOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = true; };
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void dieWithParent() {
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);         // also ends a process that is stopped
    if (getppid() != parent) stopped = true;  // it died before the call
}

void serve(const nimb::plant::CommandLine& command) {
    stopOnSignals();
    if (command.dieWithParent) dieWithParent();
    nimb::plant::PlantServer plant(command.plant);
    std::printf("listening %s\n", plant.url().c_str());
    std::fflush(stdout);
    // A signal may arrive just before the wait begins: the wait is short enough for that.
    while (!stopped) plant.iterate(std::chrono::milliseconds(50));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const auto command = nimb::plant::parseCommandLine(argc - 1, argv + 1);
        if (command.help) {
            std::fputs(nimb::plant::helpText(), stdout);
            return 0;
        }
        serve(command);
        return 0;
    } catch (const nimb::plant::UsageError& error) {
        std::fprintf(stderr, "nimb-demo-server: %s\nTry --help.\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-demo-server: %s\n", error.what());
        return 1;
    }
}
