#pragma once

#include <array>
#include <exception>

#include "errors/uac_err.h"
#include "host/counted_string.h"
#include "list/list_item.h"
#include "list/ro_list.h"

namespace nimb {

class OpcuaClient;

/// The arguments of one call: a view over the host's input, bounded by the length it states. What
/// lies behind that length in the host's buffer is left over from other calls and is never read.
class Arguments {
  public:
    /// The input is walked once, up to the first item that is not wholly there. No input, and one
    /// whose length it cannot hold, is one without arguments.
    explicit Arguments(const HostBytes* input) noexcept;

    /// Whether the first `count` arguments are there: those can be taken without fear.
    [[nodiscard]] bool holds(std::size_t count) const noexcept { return count <= count_; }

    /// @throws std::exception  an argument that is not there or not wholly there
    VeltoListItem operator[](std::size_t position) const {
        if (position >= count_) [[unlikely]] {
            throw std::exception();
        }
        return VeltoListItem(items_[position]);
    }

    /// The arguments as a list, for what takes positions by itself.
    [[nodiscard]] const VeltoROList& list() const { return list_; }

    [[nodiscard]] long handle() const { return (*this)[0].AsLong(); }

  private:
    static constexpr std::size_t kMost = 9;  ///< that any entry takes

    VeltoROList list_;
    std::array<const unsigned char*, kMost> items_;
    std::size_t count_ = 0;
};

/// The client of a handle, owned by the registry; null for a handle without one.
[[nodiscard]] OpcuaClient* clientOf(long handle);

/// The answer to a handle without a client.
[[nodiscard]] inline UACErr badHandle() { return {UACERR_APPLICATION, APPERR_BAD_HANDLE}; }

}  // namespace nimb
