#pragma once

#include "host/function_table.h"

namespace nimb::standin {

/// The function table of a host, with the slots that the library uses served as a host serves them:
/// message texts for positive error codes, and heap buffers for descriptors. Any other slot ends
/// the process with a message, because a real host would do something unforeseen there. The table
/// lives as long as the process.
HostFunction* hostFunctionTable() noexcept;

/// A descriptor as a host keeps one: empty at first, its buffer released at the end.
class Descriptor {
  public:
    Descriptor() = default;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    HostDescriptor* get() noexcept { return &descriptor_; }
    const HostDescriptor& operator*() const noexcept { return descriptor_; }

  private:
    HostDescriptor descriptor_{0, nullptr};
};

}  // namespace nimb::standin
