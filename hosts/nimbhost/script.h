#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "nimbhost/variables.h"

namespace nimb::standin {

/// Something typed cannot be understood; what() shows it with a mark under the place:
///
///     plant.nimb:12:12: there is no variable $handel
///         zfConnectB $handel, $url
///                    ^
class InputError : public std::runtime_error {
  public:
    /// @param place  what stands before the column: "plant.nimb:12" or "argument 2"
    /// @param text, position  the text and the byte in it that is wrong
    InputError(const std::string& place, std::string_view text, std::size_t position,
               const std::string& message);
};

/// One line of a script, or a repeated block.
struct Statement {
    enum class Kind { call, echo, wait, set, repeat };

    Kind kind = Kind::call;
    bool failureExpected = false;  ///< call: marked with "!"
    std::string place;             ///< script and line number
    std::string text;              ///< the whole line
    std::string name;              ///< call: entry; set: variable; echo: text
    std::size_t valuesAt = 0;      ///< call, set: where the values begin in `text`
    unsigned count = 0;            ///< wait: milliseconds; repeat: rounds
    std::vector<Statement> body;   ///< repeat
};

/// Reads a whole script, so that a slip of the pen shows before the first call.
/// @param file       name for error messages
/// @param variables  those defined so far
/// @param entries    names of the entries that can be called
/// Throws InputError.
std::vector<Statement> parseScript(const std::string& file, std::string_view script,
                                   Variables variables,
                                   const std::vector<std::string_view>& entries);

}  // namespace nimb::standin
