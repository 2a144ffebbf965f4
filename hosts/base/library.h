#pragma once

#include <nimbopcua/callout_table.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "list/velto_list.h"

namespace nimb::host {

/// The library cannot be loaded, or what is behind the path is not a callout library.
class LoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A call that cannot be made, or whose outcome breaks the rules of the boundary. Failures that an
/// entry reports are no errors here: they travel in its result list.
class CallError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A result list's bytes, in the very string that the entry wrote them to.
class ResultBytes {
  public:
    explicit ResultBytes(std::unique_ptr<const nimb_string> written) noexcept
        : written_(std::move(written)) {}

    const unsigned char* data() const noexcept { return written_->data; }
    std::size_t size() const noexcept { return written_->length; }

  private:
    std::unique_ptr<const nimb_string> written_;
};

/// The shared library seen through its callout table.
///
/// The library stays loaded until the process ends: its clients do. Several objects for one path
/// share its handles. Objects may be used from several threads: calls, which the library wants one
/// at a time, wait for each other, so a server that does not answer holds up every thread's calls
/// until the timeout.
class Library {
  public:
    /// How much is made of the buffers around each call.
    enum class Care {
        lean,    ///< what a host needs
        strict,  ///< also shows whether an entry reads or writes beyond the lengths; for tests
    };

    /// Loads the library at `path` and walks its table. Throws LoadError.
    explicit Library(const std::string& path, Care care = Care::lean);

    /// The rows of the table, without the closing one.
    std::span<const nimb_callout_row> rows() const noexcept { return rows_; }
    /// The row named `entry`, or null.
    const nimb_callout_row* find(std::string_view entry) const noexcept;

    /// Is told of every call before it is made: the entry and its arguments.
    using Observer = std::function<void(std::string_view entry, const VeltoROList& arguments)>;
    void observe(Observer observer) { observer_ = std::move(observer); }

    /// Calls a "Bb" or "B" entry; a "B" entry takes no arguments.
    /// @param arguments  an encoded list of at most 32767 bytes
    /// @return the result list's bytes; nothing when nothing was written, because the result is
    ///         too long
    /// Throws CallError.
    std::optional<ResultBytes> call(std::string_view entry,
                                    std::span<const unsigned char> arguments = {});
    /// The same with a list, for example call("zfVersion", VeltoList() + 1).
    std::optional<ResultBytes> call(std::string_view entry, const VeltoROList& arguments) {
        return call(entry, std::span(arguments.data(), arguments.datalength()));
    }
    /// Calls a "Bb" entry with the very buffers given, laid out as nimb_string at any address, and
    /// returns what the entry returned.
    int callRaw(std::string_view entry, void* out, const void* in);

    /// Calls a "P" entry and returns the number it wrote. Throws CallError.
    int callInteger(std::string_view entry);
    /// Calls a "1Ji" entry and returns the text it wrote, without the closing NUL; nothing when it
    /// wrote none. Throws CallError.
    std::optional<std::string> callText(std::string_view entry, unsigned int argument);

    /// The name of an OPC UA status code, such as "BadNodeIdUnknown". Valid for the object's life.
    const std::string& statusName(std::uint32_t status);

    /// Whether a call is under way in this process. For handlers that run when the process exits:
    /// exit() may have been called by a signal handler in the middle of one.
    static bool callUnderWay() noexcept;

  private:
    const nimb_callout_row& row(std::string_view entry, std::string_view arguments) const;
    void passArguments(std::span<const unsigned char> arguments);
    std::optional<ResultBytes> takeResult();

    std::span<const nimb_callout_row> rows_;
    Care care_;
    Observer observer_;
    // Too large for a stack. Whoever takes a result takes its string; the next call has another.
    std::unique_ptr<nimb_string> in_ = std::make_unique<nimb_string>();
    std::unique_ptr<nimb_string> out_ = std::make_unique<nimb_string>();
    std::mutex namesMutex_;
    std::map<std::uint32_t, std::string> names_;
};

}  // namespace nimb::host
