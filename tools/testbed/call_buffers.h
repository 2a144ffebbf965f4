#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include "host/counted_string.h"
#include "testbed/host.h"

namespace nimb::test {

/// The two strings of a call, kept between calls, so that nothing of the test's own is allocated
/// around the entry; `Host` has more to offer where that does not matter.
class CallBuffers {
  public:
    /// Calls a "Bb" entry.
    void call(const nimb_callout_row& row, const VeltoROList& arguments) {
        if (arguments.datalength() > HostBytes::capacity) throw std::length_error("arguments");
        in_->length = static_cast<std::uint16_t>(arguments.datalength());
        std::copy_n(arguments.data(), in_->length, in_->data);
        out_->length = kUntouched;
        reinterpret_cast<int (*)(HostBytes*, const HostBytes*)>(row.function)(out_.get(),
                                                                              in_.get());
    }
    /// What the last call wrote.
    [[nodiscard]] Result result() const {
        if (out_->length > HostBytes::capacity) return {};
        return Result(std::vector(out_->data, out_->data + out_->length));
    }

  private:
    static constexpr std::uint16_t kUntouched = 0xFFFF;

    std::unique_ptr<HostBytes> in_ = std::make_unique<HostBytes>();
    std::unique_ptr<HostBytes> out_ = std::make_unique<HostBytes>();
};

}  // namespace nimb::test
