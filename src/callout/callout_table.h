#pragma once

#include <cstddef>

#include "host/function_table.h"

namespace nimb {

/// One row of the callout table, laid out as hosts read it.
struct CalloutRow {
    const char* name;
    /// One character per argument: "B" output bytes, "b" input bytes, "P" pointer to an integer,
    /// "J" output descriptor, "i" integer; a leading "1" is the host's own mark.
    const char* argumentSpecification;
    HostFunction function;
};

static_assert(sizeof(CalloutRow) == 3 * sizeof(void*), "hosts step through rows of three pointers");

inline constexpr std::size_t kCalloutRows = 46;

/// The rows and the all-null row that ends them.
extern const CalloutRow zfedll_static[kCalloutRows + 1];

}  // namespace nimb

/// Hands the host the table and keeps its callback pointer and function table, which stay the
/// host's. May be called again; the last call holds.
extern "C" [[gnu::visibility("default")]] const nimb::CalloutRow* GetZFTable(
    void* callback, nimb::HostFunction* functionTable);
