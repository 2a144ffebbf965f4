#pragma once

#include <cstdint>
#include <string>

#include "demo_server/plant_nodes.h"

/// What the benchmark's server holds beside the plant: values enough for the longest poll, each
/// with a source time stamp of its own.
namespace nimb::bench {

inline constexpr std::uint32_t doubleCount = 1000;
inline constexpr std::uint32_t integerCount = 1000;
inline constexpr std::uint32_t textCount = 200;

/// References of the folder that is browsed: its children and its type definition.
inline constexpr std::uint32_t referenceCount = 100;

inline constexpr plant::NodeAddress valuesFolder = plant::numericNode(8);
inline constexpr plant::NodeAddress browsedFolder = plant::manyFolder;
inline constexpr plant::NodeAddress writtenNode = plant::writableOf(plant::type::doubleFloat);

/// Double that starts as its index; the server's changes add 1 each.
constexpr plant::NodeAddress doubleNode(std::uint32_t index) { return plant::bulkPoint(index); }
/// Int32, the index times 1001.
constexpr plant::NodeAddress integerNode(std::uint32_t index) {
    return plant::numericNode(40000 + index);
}
constexpr plant::NodeAddress textNode(std::uint32_t index) {
    return plant::numericNode(50000 + index);
}
/// The string of a text node, with one character beyond ASCII as units and names have them.
inline std::string textValue(std::uint32_t index) {
    return "Boiler " + std::to_string(index) +
           ", feed at 61.5 \xC2\xB0"
           "C";
}

/// Source time stamp of the node with this index, in 100 ns steps since 1601. More than 7 s apart,
/// so that no two nodes of a poll share a second.
constexpr std::int64_t sourceTime(std::uint32_t index) {
    return plant::fixedTime + std::int64_t{71234567} * index;
}

}  // namespace nimb::bench
