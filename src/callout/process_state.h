#pragma once

#include "list/velto_list.h"

namespace nimb {

/// What the calls of a process share beside the registry of clients. Made at first use and given
/// back when the library is unloaded; nothing is destroyed while a host may still call, as it does
/// from exit handlers and destructors. docs/architecture.md lists all state of the process.
struct ProcessState {
    /// Where a call's results are put together. Kept between calls, because the host makes one call
    /// at a time and a poll's results are tens of kilobytes.
    VeltoList results;
    /// What zfVersion answers; empty until it is asked.
    VeltoList versionItems;
};

/// @throws std::bad_alloc
ProcessState& processState();

}  // namespace nimb
