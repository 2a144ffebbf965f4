#pragma once

#include <nimbopcua/callout_table.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include "host/counted_string.h"
#include "input.h"
#include "testbed/lists.h"

namespace nimb::fuzz {

/// Calls entries through the callout table and checks what every output must be: untouched, or a
/// well-formed list that begins with the status.
class EntryCaller {
  public:
    static const nimb_callout_row& row(std::string_view entry) {
        const nimb_callout_row* at = GetZFTable(nullptr, nullptr);
        while (at->name != entry) {
            ++at;
            require(at->name != nullptr);
        }
        return *at;
    }

    /// @return the result list with its status; empty when the output was left as it was
    VeltoROList call(std::string_view entry, const VeltoROList& arguments) {
        return call(row(entry), {arguments.data(), arguments.datalength()},
                    static_cast<std::uint16_t>(arguments.datalength()));
    }

    /// @param stated  the length that the input string claims to have; what it claims beyond the
    ///                bytes only if no host string can be that long
    VeltoROList call(const nimb_callout_row& called, std::span<const std::uint8_t> bytes,
                     std::uint16_t stated) {
        // A block of just the bytes in use: a host's whole string would hide reads behind them.
        const Block in(static_cast<HostBytes*>(std::malloc(sizeof stated + bytes.size())));
        std::memcpy(in.get(), &stated, sizeof stated);
        if (!bytes.empty()) {
            std::memcpy(reinterpret_cast<unsigned char*>(in.get()) + sizeof stated, bytes.data(),
                        bytes.size());
        }
        out_->length = kUntouched;
        const std::string_view arguments = called.arguments;
        if (arguments == "Bb") {
            require(reinterpret_cast<int (*)(HostBytes*, const HostBytes*)>(called.function)(
                        out_.get(), in.get()) == 0);
        } else if (arguments == "B") {
            require(reinterpret_cast<int (*)(HostBytes*)>(called.function)(out_.get()) == 0);
        } else {
            return {};
        }
        return result();
    }

    /// The handle of a new client.
    long newClient() { return call("zfCreateClientB", {}).at(1).AsLong(); }

  private:
    struct Free {
        void operator()(HostBytes* block) const { std::free(block); }
    };
    using Block = std::unique_ptr<HostBytes, Free>;

    static constexpr std::uint16_t kUntouched = 0xFFFF;

    VeltoROList result() const {
        if (out_->length == kUntouched) {
            return {};
        }
        require(out_->length <= HostBytes::capacity);
        const VeltoROList list(out_->data, out_->length);
        const long status = list.at(0).AsLong();
        require(status == 0 || (status == 1 && list.size() == 4));
        return list;
    }

    std::unique_ptr<HostBytes> out_ = std::make_unique<HostBytes>();
};

}  // namespace nimb::fuzz
