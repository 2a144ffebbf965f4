#pragma once

#include <string_view>
#include <vector>

#include "nimbhost/report.h"
#include "nimbhost/script.h"
#include "nimbhost/script_context.h"

namespace nimb::standin {

/// Carries out the statements of a script and reports each call.
class ScriptRunner {
  public:
    ScriptRunner(ScriptContext& context, Report& report) : context_(context), report_(report) {}

    /// Stops at the first call that did not end as expected, because later lines build on it.
    /// @return the statement with that call, or null when all went as expected
    /// Throws InputError and CallError.
    const Statement* run(const std::vector<Statement>& statements);

    /// Carries one statement out without a report. Returns the result list of a call as
    /// describe() shows it, nothing for other statements. Throws InputError and CallError.
    std::string quietly(const Statement& statement);

    /// Makes one call. Returns whether it ended as expected.
    bool call(std::string_view entry, const VeltoList& arguments, bool failureExpected);

  private:
    bool runOne(const Statement& statement);
    VeltoList values(const Statement& statement) const;

    ScriptContext& context_;
    Report& report_;
};

}  // namespace nimb::standin
