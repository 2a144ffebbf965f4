#pragma once

#include <string>

namespace nimb::nimbhost {

/// Runs a "nimbhost ..." command line of a page through the shell, with this very program in place
/// of the name, and returns what it wrote to both streams. Throws std::runtime_error when the shell
/// cannot be started.
std::string outputOf(const std::string& command);

}  // namespace nimb::nimbhost
