#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "demo_server/fault_plan.h"
#include "demo_server/option_values.h"
#include "demo_server/plant_server.h"

namespace nimb::plant {

/// What the command line asks for.
struct CommandLine {
    PlantOptions plant;
    std::string answer;  ///< the text to print in place of serving, as --help wants it
    std::filesystem::path certificateFolder;  ///< of --encrypted, else empty
    std::vector<Fault> faults;
    bool show = false;
    bool dieWithParent = false;
};

/// Reads the arguments behind the program's name, and the files they name. Throws UsageError.
CommandLine parseCommandLine(int count, const char* const* arguments);

}  // namespace nimb::plant
