#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "nimbhost/render.h"
#include "nimbhost/script_context.h"

namespace nimb::standin {

/// How calls and results are shown.
struct ReportOptions {
    enum class Form {
        text,  ///< named arguments and results
        json,  ///< one JSON object per call and line, nothing else
        hex,   ///< the result's bytes
    };
    Form form = Form::text;
    Nesting nesting = Nesting::guess;
};

/// Tells about calls as they are made. Asks the library itself for the names of status codes and
/// states, so it speaks of them as the library does.
class Report {
  public:
    Report(std::ostream& out, host::Library& library, ReportOptions options)
        : out_(out), library_(library), options_(options) {}

    void heading(std::string_view text);
    /// The call, before it is made: it may take its time.
    void call(std::string_view entry, const VeltoROList& arguments);
    void outcome(std::string_view entry, const Outcome& outcome, bool failureExpected);

  private:
    void fields(std::string_view names, const VeltoROList& items, std::size_t first);
    std::string nameOfCode(std::string_view name, const VeltoListItem& item);
    void nestedStatuses(const VeltoListItem& item);

    std::ostream& out_;
    host::Library& library_;
    ReportOptions options_;
};

}  // namespace nimb::standin
