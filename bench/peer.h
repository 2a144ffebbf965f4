#pragma once

#include <string>
#include <vector>

#include "report.h"

namespace nimb::bench {

/// What another client's call costs beside the bare stack's in the same run.
struct PeerRow {
    std::string name;
    double rawCpu;  ///< nanoseconds
    double cpu;     ///< nanoseconds
};

/// Runs bench/peer.cjs against the server and sets its figures beside those rows of the bare stack
/// that make the same request; without such a row the request is left out. Throws
/// std::runtime_error when the peer does not say its figures.
std::vector<PeerRow> measurePeer(const std::string& script, const std::string& url,
                                 const std::vector<Row>& rows);

/// The peer's rows of the table of ratios.
std::string peerTable(const std::vector<PeerRow>& rows);

}  // namespace nimb::bench
