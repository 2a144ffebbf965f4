#include "nimbhost/plant/node_names.h"

#include <algorithm>

#include "nimbhost/entry_table.h"
#include "nimbhost/plant/plant_file.h"

namespace nimb::nimbhost {

namespace {

using host::NodeId;

constexpr NodeId kRoot{0, 84, {}};

/// Types of references that lead to no node below: encodings, descriptions, rules, types, events.
constexpr std::uint32_t kSideways[] = {32, 37, 38, 39, 40, 41, 51, 52, 53, 54, 117, 3065};

bool leadsDown(const host::Reference& reference) {
    const NodeId& type = reference.type;
    return type.nameSpace != 0 || type.isText() ||
           std::find(std::begin(kSideways), std::end(kSideways), type.number) ==
               std::end(kSideways);
}

NodeId childNamed(host::Connection& connection, const NodeId& parent, const std::string& name,
                  const std::string& soFar, const std::string& typed) {
    const auto children = childrenOf(connection, parent);
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&name](const auto& child) { return child.name == name; });
    if (found != children.end()) return host::parseNode(found->node);
    std::vector<std::string_view> names;
    for (const auto& child : children) names.emplace_back(child.name);
    throw BadInput(typed + ": there is no \"" + name + "\" below " + (soFar.empty() ? "/" : soFar) +
                   standin::suggestion(name, names));
}

NodeId followPath(host::Connection& connection, const std::string& typed) {
    NodeId node = kRoot;
    std::string soFar;
    for (std::size_t at = 1; at < typed.size();) {
        const std::size_t end = std::min(typed.find('/', at), typed.size());
        const std::string name = typed.substr(at, end - at);
        if (!name.empty()) {
            node = childNamed(connection, node, name, soFar, typed);
            soFar += '/' + name;
        }
        at = end + 1;
    }
    return node;
}

bool isNotation(const std::string& typed) {
    return typed.starts_with("ns=") || (typed.size() > 1 && typed[1] == '=');
}

}  // namespace

std::vector<host::Reference> childrenOf(host::Connection& connection, const NodeId& node) {
    std::vector<host::Reference> children = host::browse(connection, node);
    std::erase_if(children, [](const auto& reference) { return !leadsDown(reference); });
    return children;
}

std::vector<NamedNode> resolveNodes(host::Connection& connection,
                                    const std::vector<std::string>& typed, int defaultNamespace) {
    std::vector<NamedNode> out;
    for (const std::string& text : typed) {
        if (text.empty()) throw BadInput("a node has no name");
        try {
            if (text[0] == '/') {
                out.push_back({text, followPath(connection, text)});
            } else if (isNotation(text)) {
                out.push_back({text, host::parseNode(text)});
            } else {
                out.push_back({text, {static_cast<std::uint16_t>(defaultNamespace), 0, text}});
            }
        } catch (const host::BadNode& error) {
            throw BadInput(error.what());
        }
    }
    return out;
}

}  // namespace nimb::nimbhost
