#include "bench_nodes.h"
#include "cases.h"
#include "checks.h"
#include "client/guarded_transport.h"
#include "client/stack_call.h"

namespace nimb::bench {

namespace {

void installGuard(UA_ClientConfig& config) {
    require(GuardedTransport::install(config) == UA_STATUSCODE_GOOD, "a guard");
}

std::vector<plant::NodeAddress> doubles(std::uint32_t count) {
    std::vector<plant::NodeAddress> nodes;
    for (std::uint32_t i = 0; i < count; ++i) nodes.push_back(doubleNode(i));
    return nodes;
}

/// Sessions of the bare stack, of which the first is guarded as the adapter's are.
struct Guarded {
    Guarded(const Setting& setting, std::uint32_t count)
        : nodes(doubles(count)),
          request(nodes),
          guarded(setting.url, installGuard),
          raw(setting.url),
          control(setting.url) {}

    ReadResponse readGuarded() {
        const auto call = StackCall::request(guarded.client());
        return request.send(guarded);
    }
    void check() {
        require(readGuarded()->resultsSize == nodes.size(), "a guarded read");
        for (const RawSession* session : {&raw, &control}) {
            require(request.send(*session)->resultsSize == nodes.size(), "a bare read");
        }
    }

    std::vector<plant::NodeAddress> nodes;
    RawRead request;
    RawSession guarded;
    RawSession raw;
    RawSession control;
};

Case guardCase(const char* name, std::uint32_t count, const Plan& plan) {
    constexpr double target = 1.005;
    return {name, Unit::ratio, target, plan, [count](const Setting& setting) -> Contest {
                const auto all = std::make_shared<Guarded>(setting, count);
                return {{[all] { all->readGuarded(); }},
                        {[all] { all->request.send(all->raw); }},
                        {[all] { all->request.send(all->control); }},
                        [all] { all->check(); }};
            }};
}

}  // namespace

void addGuardCases(std::vector<Case>& cases) {
    cases.push_back(guardCase("guard of one node's read", 1, {20, 1, 800}));
    cases.push_back(guardCase("guard of 200 nodes' read", 200, {5, 1, 1600}));
}

}  // namespace nimb::bench
