#pragma once

#include <array>
#include <optional>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"

namespace nimb::nimbhost {

/// What one kind of poll of some nodes takes.
struct PollSize {
    const char* entry;
    std::optional<std::size_t> bytes;  ///< nothing when the result does not fit
};

/// How nodes fit into results.
struct Fitting {
    std::array<PollSize, 3> polls;
    std::size_t lineBytes = 0;  ///< of a subscription's line; 0 when it cannot be told
    std::size_t lines = 0;      ///< that fit into a poll
};

/// Reads the nodes once in each way and measures the results. Throws as Connection::reading.
Fitting fittingOf(host::Connection& connection, const std::vector<host::NodeId>& nodes);

/// Bytes that a subscription's poll takes beside its lines, and a line beside its nodes.
inline constexpr std::size_t kPollBytes = 50;
inline constexpr std::size_t kLineBytes = 6;

}  // namespace nimb::nimbhost
