#pragma once

#include "host/counted_string.h"

namespace nimb {

/// One slot of the host's function table; each slot has a signature of its own.
using HostFunction = nimb_function;

/// A host-managed byte string: the host sets the length word when it provides a buffer.
using HostDescriptor = nimb_descriptor;

static_assert(offsetof(HostDescriptor, data) == 8, "hosts read the buffer from the second word");

/// The host's callback pointer and function table as the last GetZFTable call gave them. Both
/// belong to the host; the table may be null, in which case no host function is called.
extern void* nimbcallbackp;
extern HostFunction* nimbfunctabp;

/// Asks the host for the texts of one of its error codes.
/// @param message, detail  filled by the host; both must be empty (length 0) on entry
/// @return true when the host knew the code
bool hostMessageTexts(long code, HostText& message, HostText& detail);

/// Releases whatever buffer the descriptor holds.
void hostReleaseDescriptor(HostDescriptor* descriptor);

/// Obtains a buffer of `size` bytes for the descriptor.
/// @return false when the host has none to give
bool hostObtainBuffer(HostDescriptor* descriptor, int size);

}  // namespace nimb
