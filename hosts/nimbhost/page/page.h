#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace nimb::nimbhost {

/// A call or a command in a page, and what stands below it.
struct Example {
    int line = 0;          ///< of the page, from 1
    std::string text;      ///< a script line, or a command without the prompt
    bool command = false;  ///< of a shell, in contrast to a script line
    std::string expected;  ///< the lines below, up to the next example; empty: not compared
};

/// The examples of one fenced block.
struct Block {
    int line = 0;  ///< of the opening fence
    std::vector<Example> examples;
};

/// A page that cannot be read: a fence that is not closed, an answer without a call.
struct PageError {
    int line = 0;
    std::string text;
};

/// Finds the blocks that hold calls (lines that begin with the name of an entry, "!", set, wait,
/// repeat or echo) or commands ("nimbhost ...", also behind "$ "; once there was such a prompt,
/// lines without it are answers). Other blocks, and those whose fence names another language, are
/// left out.
/// @param error  set when the page cannot be read; its line is then not 0
std::vector<Block> readPage(std::string_view page, PageError& error);

/// Whether an answer is what the page says. White space does not count, time stamps are all alike,
/// and "..." or "…" stands for anything.
bool matches(std::string_view expected, std::string_view actual);

}  // namespace nimb::nimbhost
