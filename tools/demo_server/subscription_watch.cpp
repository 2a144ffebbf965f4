#include "demo_server/subscription_watch.h"

#include <span>

#include "demo_server/stack_values.h"

namespace nimb::plant {

namespace {

using Diagnostics = UA_SubscriptionDiagnosticsDataType;

OwnedVariant diagnosticsOf(UA_Server* server) {
    OwnedVariant array;
    const UA_NodeId node =
        UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERDIAGNOSTICS_SUBSCRIPTIONDIAGNOSTICSARRAY);
    UA_Server_readValue(server, node, &*array);
    return array;
}

std::span<const Diagnostics> listIn(const UA_Variant& array) {
    const auto* type = &UA_TYPES[UA_TYPES_SUBSCRIPTIONDIAGNOSTICSDATATYPE];
    if (!UA_Variant_hasArrayType(&array, type)) return {};
    return {static_cast<const Diagnostics*>(array.data), array.arrayLength};
}

}  // namespace

void SubscriptionWatch::look(UA_Server* server) noexcept {
    const OwnedVariant array = diagnosticsOf(server);
    std::map<UA_UInt32, UA_UInt32> now;
    for (const Diagnostics& found : listIn(*array)) {
        now[found.subscriptionId] = found.monitoredItemCount;
        const auto before = nodes_.find(found.subscriptionId);
        if (before != nodes_.end() && before->second == found.monitoredItemCount) continue;
        say_("subscription " + std::to_string(found.subscriptionId) + " follows " +
             std::to_string(found.monitoredItemCount) + " nodes every " +
             std::to_string(static_cast<long>(found.publishingInterval)) + " ms");
    }
    for (const auto& [id, nodes] : nodes_) {
        if (!now.contains(id)) say_("subscription " + std::to_string(id) + " ended");
    }
    nodes_ = std::move(now);
}

}  // namespace nimb::plant
