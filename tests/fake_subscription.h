#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "fake_stack.h"
#include "output_lines.h"
#include "subscription/subscription.h"

// Subscriptions against a stack that the test plays itself: what no real server can be brought to
// do at a moment of the test's choosing. Ownership is proven by the sanitizers' builds.
namespace nimb::test {

inline constexpr UA_StatusCode bad = UA_STATUSCODE_BADNODEIDUNKNOWN;

inline std::string textOf(const UACErr& error) {
    return std::to_string(error.kind) + ", " + std::to_string(error.code) + ", " + error.text;
}

inline UA_MonitoredItemCreateResult itemResult(std::uint32_t id, UA_StatusCode status = 0,
                                               double sampling = 0, std::uint32_t queueSize = 0) {
    UA_MonitoredItemCreateResult result{};
    result.monitoredItemId = id;
    result.statusCode = status;
    result.revisedSamplingInterval = sampling;
    result.revisedQueueSize = queueSize;
    return result;
}

class SubscriptionUnit : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(client.setup(1000).isError());
        ASSERT_FALSE(client.connect("opc.tcp://the-test").isError());
    }

    UACErr create(std::size_t nodes, int maxQueueSize = 0) {
        request.maxQueueSize = maxQueueSize;
        unsigned int id = 0;
        return client.createSubscription(&id, NodeIdArray(nodes), request);
    }
    Subscription* subscription() { return client.getSubscription(stack.subscriptionId); }
    MonitoredItem& item(std::uint32_t id) { return *subscription()->itemById(id); }
    /// The lines of one poll, or its error.
    std::string poll(int maxLines = 0) {
        VeltoList out;
        const UACErr error = client.pollSubscription(&out, stack.subscriptionId, 0, maxLines);
        return error.isError() ? textOf(error) : linesText(out.at(1).AsVeltoROList());
    }

    FakeStack stack;
    OpcuaClient client;
    SubscriptionRequest request;
};

}  // namespace nimb::test
