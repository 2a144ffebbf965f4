#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "nimbhost/report.h"

namespace nimb::standin {

/// A command line that asks for nothing that can be done.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A command line taken apart: options, then a command, then what belongs to the command.
struct CommandLine {
    std::string library;                                           ///< empty: not given
    std::vector<std::pair<std::string, std::string>> definitions;  ///< name and typed value
    ReportOptions report;
    bool help = false;
    std::string command;
    std::vector<std::string> operands;
};

/// Throws UsageError.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

const char* helpText() noexcept;

/// All entries with their arguments, one line each.
std::string entryList();

/// What there is to say about one entry. Throws UsageError for an unknown one.
std::string entryHelp(std::string_view entry);

}  // namespace nimb::standin
