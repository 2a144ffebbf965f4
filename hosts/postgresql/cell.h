#pragma once

#include <string>

#include "base/library.h"
#include "base/nodes.h"
#include "base/value.h"
#include "postgresql/core.h"

namespace nimb::postgresql {

/// A value in the shape in which PostgreSQL takes it.
/// @param text     takes the bytes that the cell points to
/// @param warning  why the value, or an element of it, is Null although there is one
NimbCell cellOf(const host::Value& value, NimbForm form, std::string& text,
                host::Warning warning = nullptr);

inline NimbCell cellOf(bool flag) { return {NIMB_BOOL, {.boolean = flag}, nullptr, 0, nullptr}; }
inline NimbCell cellOf(std::int64_t number) {
    return {NIMB_INTEGER, {.integer = number}, nullptr, 0, nullptr};
}
inline NimbCell cellOf(std::uint64_t number) {
    return {NIMB_UNSIGNED, {.unsigned_integer = number}, nullptr, 0, nullptr};
}
inline NimbCell cellOf(double number) { return {NIMB_REAL, {.real = number}, nullptr, 0, nullptr}; }

/// A value that is written.
host::Value valueOf(const NimbCell& cell);

/// What a cell that tells of a node rather than of its value may need.
struct Sample {
    std::optional<std::uint32_t> status;
    std::optional<host::Ticks> sourceTime, serverTime;
};
host::Value fieldOf(NimbField field, const Sample& sample, const host::NodeId& node,
                    const host::NodeInfo& info, host::Library& library);

}  // namespace nimb::postgresql
