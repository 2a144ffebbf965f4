#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "demo_server/fault_plan.h"
#include "demo_server/signals.h"

/// What people type behind an option, in words, as values. Every function throws UsageError.
namespace nimb::plant {

/// A command line that cannot be followed; the text is for the person who typed it.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// "500ms", "10s" or "2min", at most an hour; a bare number counts milliseconds.
std::chrono::milliseconds parseDuration(const std::string& text);

/// "NAME@WHEN" or "NAME@WHEN:DURATION", as in "freeze@10s:5s".
Fault parseFault(const std::string& text);

/// "NAME=SHAPE" or "NAME=SHAPE:SETTING=VALUE,...", as in "Flow=sine:period=10s,min=0,max=100".
Signal parseSignal(const std::string& text);

/// The parts on both sides of the first `separator`, which must be there behind something.
std::pair<std::string, std::string> halves(const std::string& text, char separator);

}  // namespace nimb::plant
