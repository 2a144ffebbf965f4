#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

#include "nimbhost/render.h"
#include "nimbhost/script_context.h"

namespace nimb::standin {

/// What a call answered: {"entry", "status"} and then, for a success, "results" with the names that
/// "nimbhost help ENTRY" tells, for a failure "failure": {"error kind", "code", "text"}, or
/// "tooLong": true. Undefined items are null, NaN and infinities strings, decimal numbers that no
/// double holds exactly likewise, bytes that are not UTF-8 {"hex": "00ff"}.
nlohmann::ordered_json jsonOf(std::string_view entry, const Outcome& outcome, Nesting nesting);

}  // namespace nimb::standin
