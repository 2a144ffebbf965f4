// What a node consists of, for browsing and for the import of tables.

#include <algorithm>

#include "base/nodes.h"
#include "base/write.h"
#include "postgresql/guard.h"
#include "postgresql/session.h"

using namespace nimb::postgresql;
namespace host = nimb::host;

struct NimbChildren {
    std::string parent;
    std::vector<host::Reference> references;
    std::vector<NimbChild> children;  ///< their texts are the references'
};

namespace {

/// Organizes, HasComponent, HasProperty and the like, not the type or the modelling rules.
bool isPart(const host::Reference& reference) {
    constexpr std::uint32_t parts[] = {34, 35, 36, 46, 47, 49};
    const host::NodeId& type = reference.type;
    return type.nameSpace != 0 || type.isText() ||
           std::find(std::begin(parts), std::end(parts), type.number) != std::end(parts);
}

NimbChildren* childrenOf(Session& session, const host::NodeId& node) {
    auto children = std::make_unique<NimbChildren>();
    children->references = browse(session.connection, node);
    std::erase_if(children->references, [](const auto& reference) { return !isPart(reference); });

    std::vector<host::NodeId> nodes{node};
    std::vector<std::size_t> positions;  // of those that can be read: identifiers come in 4 kinds
    for (std::size_t i = 0; i < children->references.size(); ++i) {
        try {
            nodes.push_back(host::parseNode(children->references[i].node));
            positions.push_back(i);
        } catch (const host::BadNode&) {  // it is listed without its class
        }
    }
    const auto infos = session.catalogue.describe(nodes);
    if (infos[0].nodeClass == 0) {
        throw host::Refusal("there is no such node");
    }
    children->parent = infos[0].name;
    for (const host::Reference& reference : children->references) {
        children->children.push_back({reference.name.c_str(), reference.node.c_str(), "", 0, 0, 0});
    }
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const host::NodeInfo& info = infos[i + 1];
        NimbChild& child = children->children[positions[i]];
        child.class_name = host::classNameOf(info.nodeClass);
        child.node_class = info.nodeClass;
        child.type = static_cast<int>(info.type);
        child.rank = info.rank;
    }
    return children.release();
}

}  // namespace

NimbChildren* nimb_browse(NimbSession* session, const char* node, NimbError* error) {
    NimbChildren* children = guarded(session->session.get(), error, [&] {
        return childrenOf(*session->session, host::parseNode(node));
    });
    if (children == nullptr && error->kind == NIMB_VALUE) nameNode(*error, node);
    return children;
}

const NimbChild* nimb_child(const NimbChildren* children, std::size_t i) {
    return i < children->children.size() ? &children->children[i] : nullptr;
}

const char* nimb_parent_name(const NimbChildren* children) { return children->parent.c_str(); }

void nimb_browse_free(NimbChildren* children) { delete children; }
