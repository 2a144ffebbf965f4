// Runs the target over a recorded session whose replies are damaged at random, in several processes
// side by side, since sessions wait more than they compute. An input is made of nothing but its
// number, so a run can be split and repeated. An input that ends its process, or takes longer than
// half a minute, is reported and kept as storm-NUMBER for the replay program.
//
// usage: storm_server SESSION COUNT PROCESSES [FIRST]

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "damage.h"
#include "hostile_server.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using nimb::fuzz::Damage;

constexpr unsigned kSecondsPerInput = 30;
constexpr std::size_t kMostProcesses = 256;

/// The input that a process is at, seen by the process that started it.
struct Desk {
    std::atomic<std::uint64_t> next;
};

/// A recipe and the session: the recipe's kind, how many damages, the damages, the replies.
std::vector<std::uint8_t> makeInput(std::uint64_t number, const std::string& replies) {
    static constexpr std::uint32_t telling[] = {
        0,    1,          2,          3,          0x7F,       0x80, 0xFF, 0xFFFF,
        1024, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 28,   16};
    std::mt19937_64 random(number);
    const std::size_t damages = 1 + random() % 3;
    std::vector<std::uint8_t> input{nimb::fuzz::kDamagedFraming,
                                    static_cast<std::uint8_t>(damages)};
    for (std::size_t i = 0; i < damages; ++i) {
        const std::uint32_t value = random() % 2 == 0 ? telling[random() % std::size(telling)]
                                                      : static_cast<std::uint32_t>(random());
        // Most replies are the last ones' kind; the first fifteen are one of each service.
        const std::uint64_t reply = random() % 4 == 0 ? random() % 40 : random() % 15;
        // Every second place is near the beginning of the body, where the types and counts are.
        const std::uint64_t at = random() % (random() % 2 == 0 ? 48 : 1024);
        input.push_back(static_cast<std::uint8_t>(reply));
        input.push_back(static_cast<std::uint8_t>(random()));
        input.push_back(static_cast<std::uint8_t>(at));
        input.push_back(static_cast<std::uint8_t>(at >> 8));
        for (int shift = 0; shift < 32; shift += 8) {
            input.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }
    input.insert(input.end(), replies.begin(), replies.end());
    return input;
}

[[noreturn]] void work(Desk& desk, std::uint64_t end, std::uint64_t step,
                       const std::string& replies) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (std::uint64_t number = desk.next; number < end; number += step) {
        alarm(kSecondsPerInput);
        const auto input = makeInput(number, replies);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        desk.next = number + step;
    }
    std::_Exit(0);
}

void keep(std::uint64_t number, int status, const std::string& replies) {
    const std::string name = "storm-" + std::to_string(number);
    const auto input = makeInput(number, replies);
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()),
               static_cast<std::streamsize>(input.size()));
    std::printf("%s: %s %d\n", name.c_str(), WIFSIGNALED(status) ? "signal" : "exit status",
                WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
    std::fflush(stdout);
}

std::string read(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.empty()) {
        throw std::runtime_error("no recorded session");
    }
    return bytes.substr(1);  // behind the framing it was recorded for
}

int storm(const std::string& replies, std::uint64_t first, std::uint64_t count,
          std::uint64_t processes) {
    const std::size_t size = sizeof(Desk) * processes;
    void* shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        throw std::bad_alloc();
    }
    Desk* desks = new (shared) Desk[processes];
    std::map<pid_t, std::size_t> workers;
    const auto start = [&](std::size_t which) {
        const pid_t process = fork();
        if (process == 0) {
            work(desks[which], first + count, processes, replies);
        }
        workers[process] = which;
    };
    for (std::size_t i = 0; i < processes; ++i) {
        desks[i].next = first + i;
        start(i);
    }
    std::uint64_t findings = 0;
    int status = 0;
    for (pid_t ended = 0; !workers.empty() && (ended = wait(&status)) > 0;) {
        const std::size_t which = workers.extract(ended).mapped();
        if (status != 0) {
            ++findings;
            keep(desks[which].next, status, replies);
            desks[which].next += processes;
            start(which);
        }
    }
    std::printf("%llu inputs, %llu findings\n", static_cast<unsigned long long>(count),
                static_cast<unsigned long long>(findings));
    return findings == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 4 && argc != 5) {
        std::fprintf(stderr, "usage: %s SESSION COUNT PROCESSES [FIRST]\n", argv[0]);
        return 2;
    }
    const std::uint64_t processes = std::stoull(argv[3]);
    if (processes == 0 || processes > kMostProcesses) {
        throw std::runtime_error("1 to 256 processes");
    }
    return storm(read(argv[1]), argc == 5 ? std::stoull(argv[4]) : 0, std::stoull(argv[2]),
                 processes);
} catch (const std::exception& error) {
    std::fprintf(stderr, "storm: %s\n", error.what());
    return 2;
}
