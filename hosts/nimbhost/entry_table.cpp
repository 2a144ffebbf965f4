#include "nimbhost/entry_table.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace nimb::standin {

namespace {

constexpr EntryHelp unsupported(const char* name) {
    return {name, "Bb", "", nullptr, nullptr, "not available: always answers a failure"};
}

constexpr EntryHelp kEntries[] = {
    unsupported("zfTest"),
    {"zfTestGetInt", "P", "", "clients", nullptr, "the number of clients ever created"},
    {"zfTestStatusCodeName", "1Ji", "status", "name", nullptr, "the stack's name of a status code"},
    unsupported("zfReadLog"),
    {"zfGetStatusCodeNameB", "Bb", "status", "name; code", nullptr, "name of a status code"},
    {"zfGetClientStateNameB", "Bb", "client state", "name", nullptr, "always \"Deprecated\""},
    {"zfGetSimpleErrorCodeNameB", "Bb", "error kind", "name", nullptr, "name of an error kind"},
    {"zfCreateClientB", "B", "", "handle", "handle", "create a client; sets $handle"},
    unsupported("zfGetClientStateB"),
    unsupported("zfGetClientStateC"),
    unsupported("zfSetupClientB"),
    {"zfDestroyClientB", "Bb", "handle", "", nullptr, "disconnect and destroy a client"},
    {"zfConnectB", "Bb", "handle; url", "", nullptr, "connect anonymously"},
    {"zfDisconnectB", "Bb", "handle", "", nullptr, "disconnect; the client can connect again"},
    {"zfReadBulkSetup", "Bb",
     "handle; identifier types [0 numeric, 3 string, ...]; namespaces [...]; identifiers [...]; "
     "attribute ids [...]",
     "query", "query", "prepare a read of many values; sets $query"},
    unsupported("zfReadBulkSetupB"),
    {"zfReadBulkSetupC", "Bb",
     "handle; nodes [-, -, [-, [-, -, namespace, name, attribute id], ...]]", "query", "query",
     "prepare a read of many attributes; sets $query"},
    {"zfReadBulkPoll", "Bb", "handle; query", "source time; server time; status; value; ...",
     nullptr, "run a prepared read: four items a node, arrays undefined"},
    {"zfReadBulkPollB", "Bb", "handle; query", "node [value, source time]; ...", nullptr,
     "run a prepared read: value and time of each node, arrays undefined"},
    {"zfReadBulkPollC", "Bb", "handle; query; value required; date format (0 to 2)",
     "node [source time, server time, status, value, dimensions of an array]; ...", nullptr,
     "run a prepared read, arrays included"},
    {"zfReadBulkClear", "Bb", "handle; query", "", nullptr, "discard a prepared read"},
    unsupported("zfCreateSubscription"),
    {"zfCreateSubscriptionB", "Bb",
     "handle; nodes [-, -, [-, [-, -, namespace, name, attribute id], ...]]; publishing interval; "
     "lifetime count; keep-alive count; most notifications; sampling interval; item queue; client "
     "queue",
     "subscription; publishing interval; lifetime count; keep-alive count; most notifications; "
     "sampling interval; item queue",
     "subscription", "subscribe to the values of nodes, intervals in ms; sets $subscription"},
    {"zfPollSubscription", "Bb",
     "handle; subscription; timeout ms; most lines (0 all); check existence",
     "lines; values [line [-, node [source time, server time, status, value, dimensions], ...], "
     "...]; "
     "queue [bound, before, lost, received, lost, left, lost]",
     nullptr, "collect changed values; each line holds the latest value of every node"},
    {"zfDeleteSubscription", "Bb", "handle; subscription", "", nullptr,
     "delete a subscription; a set-up must follow before further reads"},
    {"zfReadAttribute", "Bb", "handle; identifier; namespace; identifier type; attribute id",
     "source time; server time; status; value", nullptr, "read one value (attribute 13)"},
    unsupported("zfReadValueAttribute"),
    {"zfWriteAttribute", "Bb",
     "handle; value; value type; identifier; namespace; identifier type; attribute id", "", nullptr,
     "write one value; types 1 to 7 integers, 9 Float, 10 Double, 11 String"},
    unsupported("zfWriteValueAttributeIntB"),
    unsupported("zfWriteValueAttributeStrB"),
    {"zfDateConvOPCUA2HOROLOG", "Bb", "ticks", "horolog", nullptr,
     "100 ns ticks since 1601 to days since 1841 and seconds"},
    {"zfDateConvHOROLOG2OPCUA", "Bb", "horolog", "ticks", nullptr,
     "days since 1841 and seconds to 100 ns ticks since 1601"},
    {"zfDateConvOPCUA2ODBC", "Bb", "ticks", "timestamp", nullptr,
     "100 ns ticks since 1601 to a time stamp"},
    unsupported("zfDateConvODBC2OPCUA"),
    unsupported("zfDateConvOPCUA2UNIX"),
    unsupported("zfDateConvUNIX2OPCUA"),
    {"zfGetClientStateD", "Bb", "handle",
     "connect status; connected; channel state; session state; reset required", nullptr,
     "state of a client that has been set up"},
    {"zfConnectUser", "Bb", "handle; url; user; password", "", nullptr, "connect with a login"},
    {"zfSetupClientC", "Bb",
     "handle; timeout ms; security mode (1 none, 3 sign and encrypt); certificate file; key file; "
     "trust list folder; revocation list folder; application URI; string mode (0 8-bit, 1 16-bit)",
     "", nullptr, "prepare a client for connecting, or again after a loss"},
    {"zfGetChannelStateName", "Bb", "channel state", "name", nullptr,
     "name of a secure channel state"},
    {"zfGetSessionStateName", "Bb", "session state", "name", nullptr, "name of a session state"},
    {"zfBrowse", "Bb",
     "handle; identifier types [0 numeric, 3 string, ...]; namespaces [...]; identifiers [...]",
     "status; continuation points [...]; nodes [[status, -, count, [[reference type, forward, "
     "target, browse name, display name, -, type], ...]], ...]",
     nullptr, "list the forward references of nodes"},
    unsupported("zfBrowseNext"),
    {"zfVersion", "Bb", "",
     "version; version and text; major; minor; revision; build; text; unused; date; time; unused; "
     "second "
     "version; major; minor; revision; text",
     nullptr, "version of the interface"},
    {"zfGetUStr", "Bb", "escaped text; unused", "text", nullptr, "backslash escapes to UTF-8"},
    {"zfSetLogFile", "Bb", "name", "", nullptr,
     "log to uaclogfile_NAME.txt from now on; an empty name ends it"},
};

constexpr std::string_view kSeparator = "; ";
constexpr std::string_view kRepeated = "...";

std::string lowerCase(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return out;
}

/// Single-character changes from one word to the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::span<const EntryHelp> entryTable() noexcept { return kEntries; }

const EntryHelp* findHelp(std::string_view entry) noexcept {
    const auto found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                    [entry](const auto& row) { return row.name == entry; });
    return found == std::end(kEntries) ? nullptr : found;
}

std::size_t fieldCount(std::string_view fields) noexcept {
    std::size_t count = 0;
    while (!fields.empty() && fields != kRepeated) {
        const std::size_t end = fields.find(kSeparator);
        fields = end == std::string_view::npos ? "" : fields.substr(end + kSeparator.size());
        ++count;
    }
    return count;
}

std::string fieldName(std::string_view fields, std::size_t index) {
    const std::size_t count = fieldCount(fields);
    const bool repeats = fields.ends_with(kRepeated);
    if (count == 0 || (index >= count && !repeats)) {
        return "item " + std::to_string(index + 1);
    }
    for (std::size_t skip = index % count; skip > 0; --skip) {
        fields.remove_prefix(fields.find(kSeparator) + kSeparator.size());
    }
    std::string name(fields.substr(0, fields.find(kSeparator)));
    if (!repeats) {
        return name;
    }
    // The shape is told once; further rounds are only numbered.
    const std::size_t shape = name.find(" [");
    const std::string number = ' ' + std::to_string(index / count + 1);
    if (shape == std::string::npos) {
        return name + number;
    }
    return index < count ? name.insert(shape, number) : name.substr(0, shape) + number;
}

std::string suggestion(std::string_view typed, const std::vector<std::string_view>& names) {
    constexpr std::size_t most = 3;
    const std::string wanted = lowerCase(typed);
    // A third of a word may be wrong; in a longer one more of it is a slip.
    const std::size_t slips = std::clamp<std::size_t>(wanted.size() / 3, 1, most);
    std::vector<std::pair<std::size_t, std::string_view>> near;
    for (const std::string_view name : names) {
        const std::string candidate = lowerCase(name);
        const bool part = wanted.size() > 2 && candidate.find(wanted) != std::string::npos;
        const std::size_t away = distance(wanted, candidate);
        if (part || away <= slips) near.emplace_back(part ? std::min(away, slips) : away, name);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::string out;
    for (std::size_t i = 0; i < std::min(near.size(), most); ++i) {
        out += (i == 0 ? "; did you mean " : " or ") + std::string(near[i].second);
    }
    return out + (near.empty() ? "" : "?");
}

}  // namespace nimb::standin
