#pragma once

#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/counted_string.h"
#include "list/velto_list.h"
#include "nimbopcua/callout_table.h"

namespace nimb::standin {

/// The library cannot be loaded, or what is behind the path is not a callout library.
class LoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A call that cannot be made, or whose outcome breaks the agreement with the host. Failures that
/// an entry reports are no errors here: they travel in its result list.
class CallError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The shared library seen through its callout table, loaded and called as the host does it.
///
/// The library stays loaded until the process ends, as in a host: several objects for one path
/// share its client handles. Not for more than one thread at a time.
class CalloutLibrary {
  public:
    /// Loads the library at `path` and walks its table. Throws LoadError.
    explicit CalloutLibrary(const std::string& path);

    /// The rows of the table, without the closing one.
    std::span<const nimb_callout_row> rows() const noexcept { return rows_; }
    /// The row named `entry`, or null.
    const nimb_callout_row* find(std::string_view entry) const noexcept;

    /// Calls a "Bb" or "B" entry; a "B" entry takes no arguments.
    /// @param arguments  an encoded list of at most 32767 bytes
    /// @return the result list's bytes; nothing when the entry left the output untouched
    /// Throws CallError.
    std::optional<std::vector<unsigned char>> call(std::string_view entry,
                                                   std::span<const unsigned char> arguments = {});
    /// The same with a list, for example call("zfVersion", VeltoList() + 1).
    std::optional<std::vector<unsigned char>> call(std::string_view entry,
                                                   const VeltoROList& arguments) {
        return call(entry, std::span(arguments.data(), arguments.datalength()));
    }
    /// Calls a "Bb" entry with the very buffers given and returns what the entry returned.
    int callRaw(std::string_view entry, HostBytes& out, const HostBytes& in);

    /// Calls a "P" entry and returns the number it wrote. Throws CallError.
    int callInteger(std::string_view entry);
    /// Calls a "1Ji" entry and returns the text it wrote, without the closing NUL; nothing when it
    /// wrote none. Throws CallError.
    std::optional<std::string> callText(std::string_view entry, unsigned int argument);

  private:
    const nimb_callout_row& row(std::string_view entry, std::string_view arguments) const;
    void passArguments(std::span<const unsigned char> arguments);
    std::optional<std::vector<unsigned char>> takeResult() const;

    std::span<const nimb_callout_row> rows_;
    // A host reuses its buffers; these are too large for a stack.
    std::unique_ptr<HostBytes> in_ = std::make_unique<HostBytes>();
    std::unique_ptr<HostBytes> out_ = std::make_unique<HostBytes>();
};

}  // namespace nimb::standin
