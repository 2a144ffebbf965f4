#pragma once

#include <exception>

#include "host/counted_string.h"
#include "list/list_item.h"
#include "list/ro_list.h"

namespace nimb {

class OpcuaClient;

/// The arguments of one call: a view over the host's input, bounded by the length it states. What
/// lies behind that length in the host's buffer is left over from other calls and is never read.
class Arguments {
  public:
    /// @throws std::exception  no input, or a length that the input cannot hold
    explicit Arguments(const HostBytes* input) : list_(viewOf(input)) {}

    /// @throws std::exception  an argument that is not there or not wholly there
    VeltoListItem operator[](std::size_t position) const { return list_.at(position); }

    /// The arguments as a list, for what takes positions by itself.
    [[nodiscard]] const VeltoROList& list() const { return list_; }

    /// The client whose handle is argument 0; never null.
    /// @throws UACErr  kind 2, code 1 for a handle without a client
    [[nodiscard]] OpcuaClient& client() const { return clientOf(handle()); }
    [[nodiscard]] long handle() const { return (*this)[0].AsLong(); }

    /// The client of a handle that was read before; same rules.
    [[nodiscard]] static OpcuaClient& clientOf(long handle);

  private:
    static VeltoROList viewOf(const HostBytes* input) {
        if (input == nullptr || input->length > HostBytes::capacity) [[unlikely]] {
            throw std::exception();
        }
        return {input->data, input->length};
    }

    VeltoROList list_;
};

}  // namespace nimb
