#pragma once

#include <span>
#include <string>

#include "demo_server/plant_nodes.h"
#include "testbed/lists.h"

namespace nimb::test {

inline constexpr int valueAttribute = 13;

/// One of the plant's nodes as the arguments identifier, namespace, identifier type.
inline VeltoList nodeId(const plant::NodeAddress& node) {
    if (node.text.empty()) return listOf(static_cast<long>(node.numeric), 2, 0);
    return listOf(std::string(node.text), 2, 3);
}

/// A property of a node specification, and the specification itself. Two items of each, and the
/// first of the properties, are not read.
template <typename Name>
VeltoList property(const Name& name, long space = plant::namespaceIndex,
                   long attribute = valueAttribute) {
    return listOf("", "", space, name, attribute);
}
template <typename... Property>
VeltoList container(const Property&... properties) {
    return listOf("", "", listOf("", properties...));
}

/// The specification of the values of some nodes, which it names by number or by text.
inline VeltoList specification(std::span<const plant::NodeAddress> nodes) {
    VeltoList properties = listOf("");
    for (const plant::NodeAddress& node : nodes) {
        properties +=
            property(node.text.empty() ? std::to_string(node.numeric) : std::string(node.text));
    }
    return listOf("", "", properties);
}
inline VeltoList specification(std::initializer_list<plant::NodeAddress> nodes) {
    return specification(std::span(nodes.begin(), nodes.size()));
}

}  // namespace nimb::test
