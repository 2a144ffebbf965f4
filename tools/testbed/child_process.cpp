#include "testbed/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "testbed/descriptor.h"

namespace nimb::test {

pid_t spawnProcess(std::vector<std::string> command, int output, int errors) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output >= 0) posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (errors >= 0) posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    pid_t process = -1;
    const int error =
        posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command[0]);
    return process;
}

bool awaitProcess(pid_t process, int flags, int& status) noexcept {
    pid_t result = 0;
    do {
        result = waitpid(process, &status, flags);
    } while (result < 0 && errno == EINTR);
    return result == process;
}

void runProgram(const std::vector<std::string>& command) {
    const Descriptor words(memfd_create("words", MFD_CLOEXEC));
    int status = -1;
    awaitProcess(spawnProcess(command, words.get(), words.get()), 0, status);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
    std::string said(4096, '\0');
    const ssize_t length = pread(words.get(), said.data(), said.size(), 0);
    said.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    throw std::runtime_error(command[0] + " failed: " + said);
}

}  // namespace nimb::test
