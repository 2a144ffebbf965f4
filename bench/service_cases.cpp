#include <open62541/types_generated.h>

#include <array>

#include "bench_nodes.h"
#include "cases.h"
#include "checks.h"
#include "demo_server/address_space.h"

namespace nimb::bench {

namespace {

using plant::NodeAddress;

/// The sessions of one contest.
struct Sessions {
    Sessions(const Setting& setting, int stringMode)
        : adapter(setting.library, setting.url, stringMode),
          raw{RawSession(setting.url), RawSession(setting.url)} {}

    AdapterSession adapter;
    std::array<RawSession, 2> raw;
};

/// Builds a contest whose three calls share `state`: callAdapter(), callRaw(session), check().
template <typename State>
Contest contestOf(std::shared_ptr<State> state) {
    return {{[state] { state->adapterEntry(); }, {}},
            {[state] { state->callRaw(state->sessions.raw[0]); }, {}},
            {[state] { state->callRaw(state->sessions.raw[1]); }, {}},
            [state] { state->check(); }};
}

std::vector<NodeAddress> nodesOf(Mix mix, std::uint32_t count) {
    std::vector<NodeAddress> nodes;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t kind = mix == Mix::doubles ? 0 : mix == Mix::texts ? 2 : i % 3;
        nodes.push_back(kind == 0 ? doubleNode(i) : kind == 1 ? integerNode(i) : textNode(i));
    }
    return nodes;
}

Layout layoutOf(std::string_view entry) {
    return entry == "zfReadBulkPoll"    ? Layout::pollA
           : entry == "zfReadBulkPollB" ? Layout::pollB
                                        : Layout::pollC;
}

class Poll {
  public:
    Poll(const Setting& setting, const char* entry, Mix mix, std::uint32_t count)
        : sessions(setting, mix == Mix::texts ? 1 : 0),
          wideText_(mix == Mix::texts),
          layout_(layoutOf(entry)),
          nodes_(nodesOf(mix, count)),
          request_(nodes_),
          adapterEntry(sessions.adapter.entry(
              entry, VeltoList() + sessions.adapter.prepareRead(nodes_) + 0 + 0)) {}

    void callRaw(const RawSession& session) { request_.send(session); }

    void check() {
        for (const RawSession& session : sessions.raw) {
            checkRead(layout_, wideText_, adapterEntry.call(), *request_.send(session));
        }
    }

    Sessions sessions;

  private:
    bool wideText_;
    Layout layout_;
    std::vector<NodeAddress> nodes_;
    RawRead request_;

  public:
    Entry adapterEntry;
};

VeltoList nodeArguments(const NodeAddress& node) {
    return VeltoList() + static_cast<int>(node.numeric) + int{plant::namespaceIndex} + 0 +
           int{UA_ATTRIBUTEID_VALUE};
}

struct SingleRead {
    explicit SingleRead(const Setting& setting)
        : sessions(setting, 0),
          request(std::array{doubleNode(7)}),
          adapterEntry(sessions.adapter.entry("zfReadAttribute", nodeArguments(doubleNode(7)))) {}

    void callRaw(const RawSession& session) { request.send(session); }
    void check() {
        for (const RawSession& session : sessions.raw) {
            checkRead(Layout::single, false, adapterEntry.call(), *request.send(session));
        }
    }

    Sessions sessions;
    RawRead request;
    Entry adapterEntry;
};

class SingleWrite {
  public:
    explicit SingleWrite(const Setting& setting)
        : sessions(setting, 0), adapterEntry(entryWriting(adapterValue)) {
        UA_Variant_setScalar(&value_.value.value, &rawValue_, &UA_TYPES[UA_TYPES_DOUBLE]);
        value_.value.hasValue = true;
        value_.nodeId = plant::stackId(writtenNode);
        value_.attributeId = UA_ATTRIBUTEID_VALUE;
        request_.nodesToWrite = &value_;
        request_.nodesToWriteSize = 1;
    }

    void callRaw(const RawSession& session) {
        session.send<WriteResponse>(request_, UA_TYPES_WRITEREQUEST);
    }

    void check() {
        for (const RawSession& session : sessions.raw) {
            callRaw(session);
            require(written(session) == rawValue_, "the bare stack's write");
            adapterEntry.call();
            require(written(session) == adapterValue, "the adapter's write");
        }
    }

  private:
    static constexpr double adapterValue = 17.25;

    Entry entryWriting(double value) const {
        VeltoList arguments;
        arguments.appendIEEE64(value);
        arguments += int{UA_TYPES_DOUBLE};
        arguments.appendList(nodeArguments(writtenNode));
        return sessions.adapter.entry("zfWriteAttribute", arguments);
    }

    static double written(const RawSession& session) {
        const ReadResponse response = RawRead(std::array{writtenNode}).send(session);
        require(response->resultsSize == 1 && response->results[0].hasValue, "reading back");
        return *static_cast<const double*>(response->results[0].value.data);
    }

    double rawValue_ = 42.5;
    UA_WriteValue value_{};
    UA_WriteRequest request_{};

  public:
    Sessions sessions;
    Entry adapterEntry;
};

class Browse {
  public:
    explicit Browse(const Setting& setting)
        : sessions(setting, 0),
          adapterEntry(sessions.adapter.entry(
              "zfBrowse", VeltoList() + repeated(1, 0) + repeated(1, int{plant::namespaceIndex}) +
                              repeated(1, static_cast<int>(browsedFolder.numeric)))) {
        node_.nodeId = plant::stackId(browsedFolder);
        node_.resultMask = UA_BROWSERESULTMASK_ALL;
        request_.nodesToBrowse = &node_;
        request_.nodesToBrowseSize = 1;
    }

    void callRaw(const RawSession& session) { send(session); }

    void check() {
        for (const RawSession& session : sessions.raw) {
            const BrowseResponse expected = send(session);
            checkBrowse(adapterEntry.call(), *expected);
            require(expected->results[0].referencesSize == referenceCount, "browsed folder");
        }
    }

  private:
    BrowseResponse send(const RawSession& session) {
        return session.send<BrowseResponse>(request_, UA_TYPES_BROWSEREQUEST);
    }

    UA_BrowseDescription node_{};
    UA_BrowseRequest request_{};

  public:
    Sessions sessions;
    Entry adapterEntry;
};

template <typename State>
std::function<Contest(const Setting&)> prepared() {
    return [](const Setting& setting) { return contestOf(std::make_shared<State>(setting)); };
}

void addPolls(std::vector<Case>& cases, std::uint32_t count, std::array<double, 3> targets) {
    constexpr std::array entries{"zfReadBulkPoll", "zfReadBulkPollB", "zfReadBulkPollC"};
    constexpr std::array letters{'A', 'B', 'C'};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        cases.push_back(
            {std::string("poll ") + letters[i] + " of " + std::to_string(count) + " doubles",
             Unit::ratio,
             targets[i],
             {5, 1, 1600},
             [entry = entries[i], count](const Setting& setting) {
                 return pollContest(setting, entry, Mix::doubles, count);
             }});
    }
}

}  // namespace

Contest pollContest(const Setting& setting, const char* entry, Mix mix, std::uint32_t count) {
    return contestOf(std::make_shared<Poll>(setting, entry, mix, count));
}

void addServiceCases(std::vector<Case>& cases) {
    constexpr Plan single{20, 1, 800};
    constexpr Plan many{5, 1, 1600};
    cases.push_back({"read of one node", Unit::ratio, 1.03, single, prepared<SingleRead>()});
    cases.push_back({"write of one node", Unit::ratio, 1.03, single, prepared<SingleWrite>()});
    addPolls(cases, 10, {1.05, 1.05, 1.05});
    addPolls(cases, 100, {1.08, 1.06, 1.09});
    addPolls(cases, 200, {1.08, 1.06, 1.10});
    cases.push_back(
        {"poll C of 200 mixed types", Unit::ratio, 1.13, many, [](const Setting& setting) {
             return pollContest(setting, "zfReadBulkPollC", Mix::mixed, 200);
         }});
    cases.push_back({"poll C of 150 texts in string mode 1", Unit::ratio, 1.13, many,
                     [](const Setting& setting) {
                         return pollContest(setting, "zfReadBulkPollC", Mix::texts, 150);
                     }});
    cases.push_back({"browse of 100 references", Unit::ratio, 1.12, many, prepared<Browse>()});
}

}  // namespace nimb::bench
