#pragma once

#include <string>

#include "base/library.h"
#include "base/nodes.h"
#include "base/value.h"
#include "postgresql/core.h"

namespace nimb::postgresql {

/// A value in the shape in which PostgreSQL takes it.
/// @param text     takes the bytes that the cell points to
/// @param warning  set when the value cannot be shown; the cell is then Null
NimbCell cellOf(const host::Value& value, NimbForm form, std::string& text, const char*& warning);

/// A value that is written.
host::Value valueOf(const NimbCell& cell);

/// What a cell that tells of a node rather than of its value may need.
struct Sample {
    std::optional<std::uint32_t> status;
    std::optional<host::Ticks> sourceTime, serverTime;
};
host::Value fieldOf(NimbField field, const Sample& sample, const host::NodeId& node,
                    const host::NodeInfo& info, host::Library& library);

inline bool isBad(std::uint32_t status) { return (status & 0x80000000U) != 0; }

}  // namespace nimb::postgresql
