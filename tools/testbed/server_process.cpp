#include "testbed/server_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "testbed/child_process.h"
#include "testbed/descriptor.h"
#include "testbed/wait_until.h"

namespace nimb::test {

namespace {

/// The first line that arrives at `descriptor`, without its newline.
std::string readLine(int descriptor) {
    std::string line;
    const auto complete = [&] {
        pollfd ready{descriptor, POLLIN, 0};
        char byte = 0;
        while (poll(&ready, 1, 0) > 0) {
            if (read(descriptor, &byte, 1) != 1) throw std::runtime_error("the server ended");
            if (byte == '\n') return true;
            line += byte;
        }
        return false;
    };
    if (!waitUntil(complete)) throw std::runtime_error("the server does not get ready");
    return line;
}

}  // namespace

ServerProcess::ServerProcess(std::vector<std::string> options)
    : ServerProcess(NIMB_DEMO_SERVER, std::move(options)) {}

ServerProcess::ServerProcess(std::string program, std::vector<std::string> options)
    : program_(std::move(program)), options_(std::move(options)) {
    start();
}

ServerProcess::~ServerProcess() { kill(); }

void ServerProcess::start() {
    if (process_ > 0) return;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    std::vector<std::string> command{program_, "--die-with-parent", "--port",
                                     std::to_string(port_)};
    command.insert(command.end(), options_.begin(), options_.end());
    process_ = spawnProcess(std::move(command), writing.get(), -1);
    writing.reset();  // or the end of the process would go unnoticed
    try {
        readReadyLine(reading.get());
    } catch (...) {
        kill();
        throw;
    }
}

void ServerProcess::readReadyLine(int descriptor) {
    constexpr std::string_view prefix = "listening ";
    const std::string line = readLine(descriptor);
    const std::size_t colon = line.rfind(':');
    if (!line.starts_with(prefix) || colon == std::string::npos) {
        throw std::runtime_error("unexpected words from the server: " + line);
    }
    url_ = line.substr(prefix.size());
    std::from_chars(line.data() + colon + 1, line.data() + line.size(), port_);
}

void ServerProcess::kill() noexcept {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    int status = 0;
    awaitProcess(process_, 0, status);
    process_ = -1;
}

int ServerProcess::terminate() {
    if (process_ <= 0) throw std::runtime_error("the server has ended already");
    ::kill(process_, SIGTERM);
    int status = 0;
    if (!waitUntil([&] { return awaitProcess(process_, WNOHANG, status); })) {
        throw std::runtime_error("the server does not end");
    }
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ServerProcess::freeze() {
    if (process_ <= 0) throw std::runtime_error("the server has ended already");
    ::kill(process_, SIGSTOP);
    int status = 0;
    const auto stopped = [&] {
        return awaitProcess(process_, WNOHANG | WUNTRACED, status) && WIFSTOPPED(status);
    };
    if (!waitUntil(stopped)) throw std::runtime_error("the server does not stop");
}

void ServerProcess::thaw() {
    if (process_ > 0) ::kill(process_, SIGCONT);
}

}  // namespace nimb::test
