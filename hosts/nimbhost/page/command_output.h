#pragma once

#include <string>

namespace nimb::nimbhost {

struct CommandOutput {
    std::string text;        ///< what it wrote to both streams
    bool succeeded = false;  ///< exit status 0
};

/// Runs a "nimbhost ..." command line of a page through the shell, with this very program in place
/// of the name. Throws std::runtime_error when the shell cannot be started.
CommandOutput outputOf(const std::string& command);

}  // namespace nimb::nimbhost
