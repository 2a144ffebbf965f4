#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace nimb::test {

/// Starts a program, found along PATH when its name has no slash, with the standard output and
/// error streams given; -1 leaves a stream as it is. The caller reaps the process. Throws
/// std::runtime_error when it cannot be started.
pid_t spawnProcess(std::vector<std::string> command, int output, int errors);

/// waitpid that is not disturbed by signals: true when the process changed its state.
bool awaitProcess(pid_t process, int flags, int& status) noexcept;

/// Runs a program to its end without a word. Throws std::runtime_error with what it said when it
/// fails.
void runProgram(const std::vector<std::string>& command);

}  // namespace nimb::test
