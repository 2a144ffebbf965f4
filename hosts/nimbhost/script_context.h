#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/library.h"
#include "list/velto_list.h"
#include "nimbhost/variables.h"

namespace nimb::standin {

/// What a call gave.
struct Outcome {
    VeltoList result;        ///< with the status first if there is one
    bool hasStatus = true;   ///< all entries but the two test entries answer a status
    bool failed = false;     ///< status other than 0, or no result at all
    bool untouched = false;  ///< nothing was written
    bool cut = false;        ///< what was written is no list: the front of one beyond 65536 bytes
};

/// Calls entries of any kind by name and keeps the variables that calls set.
class ScriptContext {
  public:
    /// Declares the variables that calls set; `variables` has values for others, or for them too.
    ScriptContext(host::Library& library, Variables variables);
    /// Destroys the clients that are still there: a session that nobody closes stays on the plant's
    /// server for minutes.
    ~ScriptContext();
    ScriptContext(const ScriptContext&) = delete;
    ScriptContext& operator=(const ScriptContext&) = delete;

    /// Calls an entry; $result becomes its whole result, $handle and its like the first item of a
    /// successful one. Throws CallError.
    Outcome call(std::string_view entry, const VeltoList& arguments);

    host::Library& library() noexcept { return library_; }
    Variables& variables() noexcept { return variables_; }
    std::vector<std::string_view> entryNames() const;

  private:
    Outcome callByList(std::string_view entry, const VeltoList& arguments);
    void keep(std::string_view entry, const Outcome& outcome);
    void noteClient(std::string_view entry, const VeltoList& arguments, const Outcome& outcome);

    host::Library& library_;
    Variables variables_;
    std::set<long long> clients_;  ///< handles created and not destroyed yet
};

}  // namespace nimb::standin
