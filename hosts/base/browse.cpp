#include "base/nodes.h"
#include "base/text.h"

namespace nimb::host {

namespace {

constexpr std::uint32_t kBadTimeout = 0x800A0000;
constexpr std::uint32_t kBadConnectionClosed = 0x80AE0000;

/// The entry's way to say that the server was not reached is a success without nodes; whether a
/// connection had ended or the server was silent, only the time that it took tells.
Failure notReached(const Connection& connection, std::chrono::steady_clock::time_point begin) {
    const auto taken = std::chrono::steady_clock::now() - begin;
    const bool silent = taken >= std::chrono::milliseconds(connection.plant().timeout) * 9 / 10;
    return {4, silent ? kBadTimeout : kBadConnectionClosed, "the server was not reached"};
}

template <typename T>
VeltoList one(const T& value) {
    return VeltoList() + value;
}

NodeId referenceType(const VeltoROList& fields) {
    try {
        return parseNode(notationOf(fields));
    } catch (const BadNode&) {
        return {};
    }
}

std::vector<Reference> referencesIn(const VeltoROList& node) {
    std::vector<Reference> references;
    const VeltoROList list = node.at(3).AsVeltoROList();
    for (std::size_t i = 0, count = list.size(); i < count; ++i) {
        const VeltoROList fields = list.at(i).AsVeltoROList();
        references.push_back({printable(fields.at(3).AsVeltoROList().at(0).AsAString()),
                              notationOf(fields.at(2).AsVeltoROList()),
                              referenceType(fields.at(0).AsVeltoROList())});
    }
    return references;
}

}  // namespace

/// One node a call: the entry answers for all or none, and one folder may fill a result by itself.
std::vector<Reference> browse(Connection& connection, const NodeId& node) {
    VeltoList arguments = VeltoList() + one(identifierType(node)) + one(int{node.nameSpace});
    arguments += node.isText() ? one(node.text) : one(std::int64_t{node.number});
    return connection.reading([&] {
        const auto begin = std::chrono::steady_clock::now();
        try {
            const ResultList result = connection.call("zfBrowse", arguments);
            const VeltoROList nodes = result.at(3).AsVeltoROList();
            if (nodes.empty()) {
                throw notReached(connection, begin);
            }
            return referencesIn(nodes.at(0).AsVeltoROList());
        } catch (const TooLong&) {
            throw TooLong(notation(node) +
                          ": the references do not fit into the 32767 bytes of a result");
        }
    });
}

}  // namespace nimb::host
