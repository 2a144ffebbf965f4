#pragma once

#include <nimbopcua/callout_table.h>

namespace nimb::host {

/// The function table that a host passes to GetZFTable, with the three slots that the library uses:
/// texts for the host's own error codes (this host words all of them alike), and buffers for
/// descriptors. Lives as long as the process.
///
/// Buffers come from malloc, never from a database's own allocator: those raise their errors by
/// longjmp, which must not cross the library's frames.
nimb_function* services() noexcept;

/// A descriptor as a host keeps one: empty at first, its buffer released at the end.
class Descriptor {
  public:
    Descriptor() = default;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    nimb_descriptor* get() noexcept { return &descriptor_; }
    const nimb_descriptor& operator*() const noexcept { return descriptor_; }

  private:
    nimb_descriptor descriptor_{0, nullptr};
};

}  // namespace nimb::host
