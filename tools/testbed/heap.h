#pragma once

#include <malloc.h>

#include <cstddef>

namespace nimb::test {

/// Bytes of the heap in use, mapped blocks included.
inline std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace nimb::test
