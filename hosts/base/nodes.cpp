#include "base/nodes.h"

#include <algorithm>
#include <deque>
#include <iterator>

#include "base/text.h"

namespace nimb::host {

namespace {

enum Attribute : int { nodeClass = 2, browseName = 3, dataType = 14, valueRank = 15, access = 18 };

constexpr int kWriteBit = 2;  // of the access level
constexpr std::size_t kAtOnce = 200;
constexpr std::size_t kValueAt = 3;  // behind both times and the status

/// Whether the specification's reader would take the text for a number.
bool looksNumeric(const std::string& text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    at = at != std::string::npos && (text[at] == '+' || text[at] == '-') ? at + 1 : at;
    return at == std::string::npos ||
           (at < text.size() && text[at] >= '0' && text[at] <= '9' &&
            text.find_first_not_of("0123456789", at) == std::string::npos);
}

VeltoList specificationOf(std::span<const NodeId> nodes, int attribute) {
    VeltoList properties = VeltoList() + VeltoNull();
    for (const NodeId& node : nodes) {
        const std::string name = node.isText() ? node.text : std::to_string(node.number);
        properties +=
            VeltoList() + VeltoNull() + VeltoNull() + int{node.nameSpace} + name + attribute;
    }
    return VeltoList() + VeltoNull() + VeltoNull() + properties;
}

/// A prepared read for one poll.
class Query {
  public:
    Query(Connection& connection, const VeltoList& specification)
        : connection_(connection),
          handle_(connection.call("zfReadBulkSetupC", VeltoList() + specification).at(1).AsLong()) {
    }
    ~Query() {
        try {
            connection_.call("zfReadBulkClear", VeltoList() + handle_);
        } catch (const std::exception&) {  // it ends with the client at the latest
        }
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    ResultList poll() { return connection_.call("zfReadBulkPollC", VeltoList() + handle_ + 0 + 0); }

  private:
    Connection& connection_;
    long handle_;
};

/// The items of some nodes, or nothing when they have to be asked for in smaller parts.
std::optional<ResultList> pollOnce(Connection& connection, std::span<const NodeId> nodes,
                                   int attribute) {
    try {
        ResultList result = Query(connection, specificationOf(nodes, attribute)).poll();
        return result.size() == nodes.size() + 1 ? std::optional(std::move(result)) : std::nullopt;
    } catch (const TooLong&) {
        return std::nullopt;
    } catch (const Failure& failure) {
        if (!failure.tooMuchAtOnce()) throw;
        return std::nullopt;
    }
}

void readPart(Connection& connection, std::span<const NodeId> nodes, int attribute,
              std::vector<VeltoList>& out) {
    if (nodes.size() == 1 && nodes[0].isText() && looksNumeric(nodes[0].text)) {
        out.emplace_back();
        return;
    }
    const bool nameable = std::none_of(nodes.begin(), nodes.end(), [](const NodeId& node) {
        return node.isText() && looksNumeric(node.text);
    });
    const auto result =
        nodes.size() <= kAtOnce && nameable ? pollOnce(connection, nodes, attribute) : std::nullopt;
    if (result) {
        for (std::size_t i = 1; i <= nodes.size(); ++i) {
            out.push_back(result->at(i).AsVeltoList());
        }
        return;
    }
    if (nodes.size() == 1) {
        throw TooLong(notation(nodes[0]) + ": attribute " + std::to_string(attribute) +
                      " does not fit into the 32767 bytes of a result");
    }
    readPart(connection, nodes.first(nodes.size() / 2), attribute, out);
    readPart(connection, nodes.subspan(nodes.size() / 2), attribute, out);
}

int numberIn(const VeltoList& items, int otherwise) {
    return items.size() > kValueAt && items.at(kValueAt).Type() != item_code::kUndefined
               ? static_cast<int>(items.at(kValueAt).AsLong())
               : otherwise;
}

}  // namespace

const char* classNameOf(int nodeClass) noexcept {
    switch (nodeClass) {
        case 1:
            return "Object";
        case 2:
            return "Variable";
        case 4:
            return "Method";
        case 8:
            return "ObjectType";
        case 16:
            return "VariableType";
        case 32:
            return "ReferenceType";
        case 64:
            return "DataType";
        case 128:
            return "View";
        default:
            return "";
    }
}

std::vector<VeltoList> readAttribute(Connection& connection, std::span<const NodeId> nodes,
                                     int attribute) {
    std::vector<VeltoList> items;
    if (!nodes.empty()) {
        readPart(connection, nodes, attribute, items);
    }
    return items;
}

std::vector<NodeInfo> NodeCatalogue::describe(std::span<const NodeId> nodes) {
    return connection_.reading([&] {
        const auto classes = readAttribute(connection_, nodes, nodeClass);
        const auto names = readAttribute(connection_, nodes, browseName);
        const auto types = readAttribute(connection_, nodes, dataType);
        const auto ranks = readAttribute(connection_, nodes, valueRank);
        const auto accesses = readAttribute(connection_, nodes, access);
        std::vector<NodeInfo> infos(nodes.size());
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            NodeInfo& info = infos[i];
            info.nodeClass = numberIn(classes[i], 0);
            info.rank = numberIn(ranks[i], -2);
            info.writable = (numberIn(accesses[i], 0) & kWriteBit) != 0;
            if (types[i].size() > kValueAt + 2) {
                const VeltoListItem id = types[i].at(kValueAt);
                const unsigned char* end = types[i].data() + types[i].datalength();
                info.type = builtInOf(
                    notationOf({id.header(), static_cast<std::size_t>(end - id.header())}));
            }
            if (names[i].size() > kValueAt) {
                info.name = textOf(names[i].at(kValueAt)).value_or("");
            }
            if (info.name.empty()) info.name = notation(nodes[i]);
        }
        return infos;
    });
}

Type NodeCatalogue::builtInOf(const std::string& dataType) {
    constexpr std::uint32_t builtInTypes = 25;
    try {
        const NodeId id = parseNode(dataType);
        if (id.nameSpace == 0 && !id.isText() && id.number >= 1 && id.number <= builtInTypes) {
            // A variable of the type "any" holds values of other types.
            return id.number == 24 ? Type::unknown : static_cast<Type>(id.number);
        }
    } catch (const BadNode&) {
        return Type::unknown;
    }
    if (!walked_) walkTypes();
    const auto found = derived_.find(dataType);
    return found == derived_.end() ? Type::structure : found->second;
}

/// Subtypes of structures are left out: there are hundreds, and none of their values has a form.
void NodeCatalogue::walkTypes() {
    constexpr std::size_t mostTypes = 2000;  // a server may be hostile, or its types in a circle
    constexpr std::uint32_t hasSubtype = 45;
    std::deque<std::pair<NodeId, Type>> open = {{NodeId{0, 24, {}}, Type::unknown}};
    for (; !open.empty() && derived_.size() < mostTypes; open.pop_front()) {
        const auto& [parent, type] = open.front();
        for (const Reference& reference : browse(connection_, parent)) {
            if (reference.type != NodeId{0, hasSubtype, {}} || derived_.contains(reference.node)) {
                continue;
            }
            NodeId child;
            try {
                child = parseNode(reference.node);
            } catch (const BadNode&) {
                continue;
            }
            const bool standard = child.nameSpace == 0 && !child.isText();
            const bool builtIn = standard && child.number <= 25;
            const bool enumeration = standard && child.number == 29;
            const Type childType = builtIn       ? static_cast<Type>(child.number)
                                   : enumeration ? Type::int32
                                                 : type;
            derived_.emplace(reference.node, childType);
            if (childType != Type::structure) open.emplace_back(std::move(child), childType);
        }
    }
    walked_ = true;
}

}  // namespace nimb::host
