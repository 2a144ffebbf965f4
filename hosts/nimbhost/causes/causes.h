#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nimb::nimbhost {

/// The tables of the manual that tell what a failure means.
enum class CauseTable {
    setUp,    ///< refused by the set-up of an encrypted session
    connect,  ///< refused at the connect of an encrypted session
    reach,    ///< no connect, encrypted or not
    fault,    ///< what breaks a session that was open
};

/// One row: how a failure shows, where it comes from, and what to do about it. Texts are Markdown.
struct Cause {
    CauseTable table;
    const char* failure;  ///< the failure's text, as the manual shows it
    const char* log;      ///< what the log says, as the manual shows it
    const char* cause;
    const char* cure;
    /// What tells the row from others: one of the first in the failure's text, one of the second in
    /// the log. Null for a word that is not needed.
    const char* inFailure[2];
    const char* inLog[2];
};

/// All rows. Of rows that share a failure the more particular one stands first.
std::span<const Cause> causes() noexcept;

/// The rows that fit a failure of the given tables.
/// @param log  of the call; empty when there is none, then it rules nothing out
std::vector<const Cause*> causesOf(std::span<const CauseTable> tables, std::string_view failure,
                                   std::string_view log);

/// The row that a log line gives away, or null.
const Cause* causeOfLogLine(std::string_view line);

/// The rows that a text or the name of a status speaks of.
std::vector<const Cause*> causesOfText(std::string_view text);

/// The name under which the manual marks the table: "set-up", "connect", "reach", "fault".
const char* nameOf(CauseTable table) noexcept;
/// The table of that name as the manual prints it, with its head. Throws std::out_of_range.
std::string manualTable(std::string_view name);

/// Markdown without its marks: `code`, **bold** and [links](to) become plain text.
std::string plain(std::string_view markdown);

}  // namespace nimb::nimbhost
