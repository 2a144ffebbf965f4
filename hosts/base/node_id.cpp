#include "base/node_id.h"

#include <charconv>

#include "base/text.h"

namespace nimb::host {

namespace {

constexpr std::string_view kSpaces = " \t\r\n";
constexpr std::size_t kMaxText = 4096;  // bytes; the standard's own limit

[[noreturn]] void refuse(std::string_view text) {
    constexpr std::size_t quoted = 80;
    throw BadNode('"' + printable(text.substr(0, quoted)) +
                  "\" is no node: write ns=2;s=Tank1.Level or i=2258");
}

/// Takes a whole number and what stands behind it off the front; false when it is not there.
template <typename Number>
bool takeNumber(std::string_view& text, std::string_view behind, Number& number) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{}) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    if (!text.starts_with(behind)) {
        return false;
    }
    text.remove_prefix(behind.size());
    return true;
}

bool beginsNode(std::string_view text) {
    return text.starts_with("ns=") || (text.size() > 1 && text[1] == '=');
}

std::string withNamespace(std::uint32_t nameSpace, const std::string& identifier) {
    return (nameSpace == 0 ? "" : "ns=" + std::to_string(nameSpace) + ';') + identifier;
}

}  // namespace

NodeId parseNode(std::string_view text) {
    NodeId node;
    std::string_view rest = text;
    if (rest.starts_with("ns=")) {
        rest.remove_prefix(3);
        if (!takeNumber(rest, ";", node.nameSpace)) refuse(text);
    }
    if (rest.starts_with("i=")) {
        rest.remove_prefix(2);
        if (!takeNumber(rest, "", node.number) || !rest.empty()) refuse(text);
    } else if (rest.starts_with("s=") && rest.size() > 2 && rest.size() - 2 <= kMaxText &&
               isUtf8(rest)) {
        node.text = rest.substr(2);
    } else {
        refuse(text);
    }
    return node;
}

std::vector<NodeId> parseNodes(std::string_view text) {
    std::vector<NodeId> nodes;
    std::size_t begin = text.find_first_not_of(kSpaces);
    while (begin != std::string_view::npos) {
        std::size_t space = begin;
        std::size_t next = begin;
        do {
            space = text.find_first_of(kSpaces, next);
            next = space == std::string_view::npos ? space : text.find_first_not_of(kSpaces, space);
        } while (next != std::string_view::npos && !beginsNode(text.substr(next)));
        nodes.push_back(parseNode(text.substr(begin, space - begin)));
        begin = next;
    }
    if (nodes.empty()) refuse(text);
    return nodes;
}

std::string notation(const NodeId& node) {
    return withNamespace(node.nameSpace,
                         node.isText() ? "s=" + node.text : "i=" + std::to_string(node.number));
}

std::string notationOf(const VeltoROList& fields) {
    constexpr int kinds = 6;
    static constexpr const char* heads[kinds] = {"i=", "?=", "?=", "s=", "g=", "b="};
    const auto nameSpace = static_cast<std::uint32_t>(fields.at(0).AsLong());
    const std::string identifier = fields.at(1).AsAString();
    const long kind = fields.at(2).AsLong();
    return withNamespace(nameSpace,
                         (kind >= 0 && kind < kinds ? heads[kind] : "?=") + printable(identifier));
}

}  // namespace nimb::host
