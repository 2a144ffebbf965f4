#pragma once

#include <sys/types.h>
#include <termios.h>

namespace nimb::nimbhost {

/// The terminal behind the standard input without some of what it does with keys, until the end of
/// the object's life. One at a time.
class InputMode {
  public:
    /// @param without  flags of c_lflag: ECHO shows what is typed, ICANON waits for whole lines
    explicit InputMode(tcflag_t without);
    ~InputMode();
    InputMode(const InputMode&) = delete;
    InputMode& operator=(const InputMode&) = delete;

    /// Whether there is a terminal that took the change.
    static bool isChanged() noexcept;
};

/// Gives the terminal back as InputMode and a table that is redrawn have found it, for a process
/// that ends without its destructors. Calls only what a signal handler may.
void restoreTerminal() noexcept;

/// Opens a page of its own on the terminal, without a cursor, and closes it again.
void openPage();
void closePage() noexcept;

}  // namespace nimb::nimbhost
