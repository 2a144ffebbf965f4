#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "list/velto_list.h"
#include "nimbhost/variables.h"

namespace nimb::standin {

/// What is wrong with a typed text, and where.
class SyntaxError : public std::runtime_error {
  public:
    SyntaxError(std::size_t position, const std::string& message)
        : std::runtime_error(message), position_(position) {}

    /// Byte position in the text parsed.
    std::size_t position() const noexcept { return position_; }

  private:
    std::size_t position_;
};

/// Parses values separated by commas or blanks, up to the end of the text or a `#`, as an argument
/// list. `start` is the byte to begin at; positions in errors count from the text's beginning.
///
///     42  -7  0x1F      integers of 64 bits
///     12.34  -5e-3      decimal numbers, kept exactly
///     f:0.1  f32:0.1    floating point, double and single
///     "text"            8-bit text: the bytes as typed (UTF-8), \" \\ \n \r \t, \xHH for a byte
///     u"text"           16-bit text: UTF-16 of what is typed, the same escapes and \uHHHH
///     x:00ff            raw bytes
///     null              the undefined item
///     [1, "two", [3]]   a nested list
///     $name  $name[2]   a variable, an item (from 0) of the list in it
///     Tank1.Level       8-bit text without quotes: letters, digits and _ . : / % @ + - = ~, a
///     letter
///                       or one of . / _ ~ first
///
/// Throws SyntaxError.
VeltoList parseValues(std::string_view text, std::size_t start, const Variables& variables);

/// The same for exactly one value.
VeltoList parseValue(std::string_view text, std::size_t start, const Variables& variables);

/// A letter or underscore, then letters, digits and underscores.
bool isName(std::string_view text) noexcept;

}  // namespace nimb::standin
