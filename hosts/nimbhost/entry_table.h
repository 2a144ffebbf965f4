#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nimb::standin {

/// What people need to know about an entry of the library. Field names are separated by "; "; a
/// shape in brackets tells what a nested list holds, and "..." at the end that the fields repeat.
struct EntryHelp {
    const char* name;
    const char* specification;  ///< argument characters, as in the callout table
    const char* arguments;
    const char* results;   ///< behind the status; null for entries that always refuse
    const char* variable;  ///< set to the first result; null for none
    const char* summary;
};

/// All entries, in the order of the callout table.
std::span<const EntryHelp> entryTable() noexcept;

/// The row named `entry`, or null.
const EntryHelp* findHelp(std::string_view entry) noexcept;

/// The name of field number `index` in a list of field names; "item N" for fields without one.
std::string fieldName(std::string_view fields, std::size_t index);

/// How many fields are named; repeated ones count once.
std::size_t fieldCount(std::string_view fields) noexcept;

/// Those of `names` that were probably meant by `typed`, as "; did you mean A or B?", or nothing.
std::string suggestion(std::string_view typed, const std::vector<std::string_view>& names);

}  // namespace nimb::standin
