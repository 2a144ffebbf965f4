#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nimb::nimbhost {

/// Whether the descriptor is a terminal.
bool isTerminal(int descriptor) noexcept;

/// Whether the standard output is a terminal whose cursor can be moved (TERM is not "dumb").
bool canRedraw() noexcept;

/// Columns of the terminal behind the standard output, $COLUMNS, or 100 when it is none.
std::size_t terminalWidth() noexcept;
/// Lines of it, or 24.
std::size_t terminalHeight() noexcept;

/// The text in bold, green, ... on a terminal that shows colours: TERM is not "dumb", NO_COLOR is
/// not set. Elsewhere the text as it is.
enum class Style { bold, good, warning, bad, faint };
std::string styled(std::string_view text, Style style);

/// Text from outside with what a terminal would obey (control characters) taken out.
std::string harmless(std::string_view text);

/// Says on the standard error stream, if it is a terminal, what is being waited for, and takes it
/// away at the end of its life.
class Progress {
  public:
    explicit Progress(std::string_view text);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void say(std::string_view text);

  private:
    bool shown_;
};

}  // namespace nimb::nimbhost
