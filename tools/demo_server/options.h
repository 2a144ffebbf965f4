#pragma once

#include <stdexcept>
#include <string>

#include "demo_server/plant_server.h"

namespace nimb::plant {

/// What the command line asks for.
struct CommandLine {
    PlantOptions plant;
    bool help = false;
    bool dieWithParent = false;
};

/// A command line that cannot be followed; the text is for the person who typed it.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments behind the program's name, and the files they name. Throws UsageError.
CommandLine parseCommandLine(int count, const char* const* arguments);

/// The text of --help, ending with a newline.
const char* helpText() noexcept;

}  // namespace nimb::plant
