#pragma once

#include <cstddef>
#include <string_view>

namespace nimb {

/// Room for the log file's name with its terminating zero.
inline constexpr std::size_t UAC_log_filename_size = 75;

/// The log file's name, or null while logging is off. Points into a buffer of this module.
extern const char* UAC_log_filename;

/// Names the log file after the letters, digits, "-", "." and "_" of `variablePart`, so that it
/// always lies in the current directory of the host process. When none of them survive, logging is
/// switched off. Lines go on being numbered across renames.
void UAC_SetLogFileName(std::string_view variablePart);

/// Appends one line: local time, process id, line number, and the message formatted as printf does
/// and cut at 999 bytes, with a "?" for each control character but the tab. Does nothing while
/// logging is off; a line that cannot be written is lost silently, because a diagnostic must never
/// fail the call it describes. The file is opened and closed for each line, so that it may be moved
/// or removed at any time. Leaves errno as it is.
[[gnu::format(printf, 1, 2)]] void UAC_WriteLogFile(const char* format, ...) noexcept;

}  // namespace nimb
