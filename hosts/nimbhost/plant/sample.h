#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"
#include "base/nodes.h"
#include "base/value.h"

namespace nimb::nimbhost {

/// One value of a node as it is shown.
struct Sample {
    std::string node;  ///< its notation
    std::string name;  ///< as it was typed
    host::Value value;
    host::Type type = host::Type::unknown;
    std::optional<std::uint32_t> status;
    std::optional<host::Ticks> source, server;
    const char* warning = nullptr;

    bool isBad() const noexcept { return !status || host::isBad(*status); }
    /// Earlier changes of the node were dropped at the server.
    bool hasOverflow() const noexcept { return status && (*status & 0x480U) == 0x480U; }
};

/// Reads values; a node's name is its notation. A value that alone does not fit into a result is
/// missing, with a warning. Throws as Connection::reading.
std::vector<Sample> readSamples(host::Connection& connection, std::span<const host::NodeId> nodes,
                                std::span<const host::NodeInfo> infos);

/// "42.5", a text as it is, an array in brackets; "-" where there is no value.
std::string valueText(const Sample& sample);
/// "Good", "Good, overflow", "BadNodeIdUnknown".
std::string statusText(host::Library& library, const Sample& sample);
/// The ISO time, or "-".
std::string timeText(const std::optional<host::Ticks>& time);

/// {node, name, value, type, status, statusName, source, server, lost}
nlohmann::ordered_json jsonOf(host::Library& library, const Sample& sample, unsigned long lost);

/// Now, as servers count time.
host::Ticks ticksNow();

}  // namespace nimb::nimbhost
