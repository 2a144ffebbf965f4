#pragma once

#include "nimbhost/commands/tool.h"
#include "nimbhost/script_runner.h"

namespace nimb::nimbhost {

/// What call, run, shell and check share: a context that keeps variables, and the report of its
/// calls. Clients that are still there at its end are destroyed, however it ends.
class ScriptPlayer {
  public:
    /// Throws BadInput for a --define that is none, standin::InputError for its value.
    explicit ScriptPlayer(Tool& tool);

    standin::ScriptContext& context() noexcept { return context_; }
    standin::ScriptRunner& runner() noexcept { return runner_; }

  private:
    standin::ScriptContext context_;
    standin::Report report_;
    standin::ScriptRunner runner_;
};

/// One value given on the command line.
/// @param place   names it in errors
/// @param secret  whether it may be a password, which errors do not show
/// Throws standin::InputError; BadInput for a secret.
VeltoList typedValue(const std::string& place, const std::string& text,
                     const standin::Variables& variables, bool secret);

}  // namespace nimb::nimbhost
