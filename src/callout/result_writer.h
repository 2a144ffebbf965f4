#pragma once

#include "errors/uac_err.h"
#include "host/counted_string.h"

namespace nimb {

class VeltoList;

/// Writes the result of a call into the host's output: the failure list when the error's code is
/// not 0, otherwise the status 0 and the results.
///
/// The length of the encoded list is taken modulo 65536, as the host's 16-bit length does; when it
/// then exceeds 32767 bytes the output is left exactly as it was, and a list of 65536 + n bytes is
/// written as its first n bytes: Compatibility C1.
/// @param results        scratch of this call: a failure list takes its place
/// @param statusPresent  the results begin with their status already
/// @throws std::bad_alloc
void UAC_MakeReturnValue(const UACErr& error, VeltoList& results, HostBytes* out,
                         bool statusPresent);

/// The failure list of kind 7, code 10 with a handler's tag, written without allocating: what is
/// left when memory is exhausted while a result is made.
void writeFailureWithoutMemory(HostBytes* out, const char* tag) noexcept;

}  // namespace nimb
