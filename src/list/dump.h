#pragma once

#include <cstddef>
#include <string>

namespace nimb {

/// Replaces `out` by a hex dump of `count` bytes, 16 a line, for diagnostics:
///
///     0000: 41 42 43 44 45 46 47 48:49 ** ** ** ** ** ** **  : ABCDEFGHI
///
/// Bytes outside printable ASCII show as "?". No bytes give an empty text.
void DumpByteArray(const unsigned char* bytes, std::size_t count, std::u16string& out);

}  // namespace nimb
