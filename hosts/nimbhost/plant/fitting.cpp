#include "nimbhost/plant/fitting.h"

namespace nimb::nimbhost {

namespace {

/// The request by identifiers, which can name every node; the poll entries share it.
VeltoList requestFor(const std::vector<host::NodeId>& nodes) {
    constexpr int value = 13;
    VeltoList types;
    VeltoList spaces;
    VeltoList identifiers;
    VeltoList attributes;
    for (const host::NodeId& node : nodes) {
        types += host::identifierType(node);
        spaces += int{node.nameSpace};
        if (node.isText()) {
            identifiers += node.text;
        } else {
            identifiers += std::int64_t{node.number};
        }
        attributes += value;
    }
    return VeltoList() + types + spaces + identifiers + attributes;
}

std::optional<host::ResultList> poll(host::Connection& connection, const char* entry,
                                     const VeltoList& arguments, std::size_t nodes) {
    try {
        host::ResultList result = connection.call(entry, arguments);
        // A result beyond 65536 bytes arrives cut: its items tell.
        const bool flat = std::string_view(entry) == "zfReadBulkPoll";
        if (result.size() != 1 + nodes * (flat ? 4 : 1)) return std::nullopt;
        return result;
    } catch (const host::TooLong&) {
        return std::nullopt;
    }
}

}  // namespace

Fitting fittingOf(host::Connection& connection, const std::vector<host::NodeId>& nodes) {
    Fitting out{{{{"zfReadBulkPoll", {}}, {"zfReadBulkPollB", {}}, {"zfReadBulkPollC", {}}}}, 0, 0};
    connection.reading([&] {
        const long query = connection.call("zfReadBulkSetup", requestFor(nodes)).at(1).AsLong();
        for (PollSize& size : out.polls) {
            VeltoList arguments = VeltoList() + query;
            const bool full = std::string_view(size.entry) == "zfReadBulkPollC";
            if (full) arguments = arguments + 0 + 0;
            const auto result = poll(connection, size.entry, arguments, nodes.size());
            if (!result) continue;
            size.bytes = result->datalength();
            if (full) out.lineBytes = result->datalength() + kLineBytes;
        }
        connection.call("zfReadBulkClear", VeltoList() + query);
        return 0;
    });
    if (out.lineBytes != 0) out.lines = (nimb_string_capacity - kPollBytes) / out.lineBytes;
    return out;
}

}  // namespace nimb::nimbhost
