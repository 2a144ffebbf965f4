// The test servers themselves, seen through the stack's plain client.

#include <gtest/gtest.h>
#include <open62541/client_config_default.h>
#include <open62541/client_highlevel.h>

#include <memory>

#include "demo_server/address_space.h"
#include "support/server_process.h"
#include "support/test_server.h"

namespace nimb::test {
namespace {

using Client = std::unique_ptr<UA_Client, decltype(&UA_Client_delete)>;

Client makeClient() {
    static UA_Logger silent{nullptr, nullptr, nullptr};
    UA_ClientConfig config{};
    config.logging = &silent;
    Client client(UA_Client_newWithConfig(&config), UA_Client_delete);
    UA_ClientConfig_setDefault(UA_Client_getConfig(client.get()));
    UA_Client_getConfig(client.get())->timeout = 2000;
    return client;
}

/// Value of a Double node; negative when it cannot be read.
double readDouble(const Client& client, const plant::NodeAddress& node) {
    plant::OwnedVariant value;
    UA_Client_readValueAttribute(client.get(), stackId(node), &*value);
    if (!UA_Variant_hasScalarType(&*value, &UA_TYPES[UA_TYPES_DOUBLE])) return -1;
    return *static_cast<double*>(value->data);
}

UA_StatusCode connect(const Client& client, const std::string& url) {
    return UA_Client_connect(client.get(), url.c_str());
}

TEST(TestServer, ServesValuesThatTheTestSetsAndKeepsItsPort) {
    TestServer server;
    const Client client = makeClient();
    ASSERT_EQ(connect(client, server.url()), UA_STATUSCODE_GOOD);
    server.setValue(plant::tank1Level, plant::scalar(43.25, UA_TYPES_DOUBLE));
    EXPECT_EQ(readDouble(client, plant::tank1Level), 43.25);
    const std::uint16_t port = server.port();
    server.restart();
    EXPECT_EQ(server.port(), port);
    const Client second = makeClient();
    ASSERT_EQ(connect(second, server.url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(readDouble(second, plant::tank1Level), 42.5);
    EXPECT_EQ(server.closeSessions(), 1U);
    EXPECT_EQ(server.sessionCount(), 0U);
}

TEST(TestServer, AcceptsOnlyTheRightPasswordInClear) {
    TestServer server;
    const auto logIn = [&](const char* password) {
        const Client client = makeClient();
        return UA_Client_connectUsername(client.get(), server.url().c_str(), "operator", password);
    };
    EXPECT_EQ(logIn("plant-8"), UA_STATUSCODE_BADUSERACCESSDENIED);
    EXPECT_EQ(logIn("plant-7"), UA_STATUSCODE_GOOD);
}

TEST(ServerProcess, IsFrozenThawedKilledAndStartedAgainOnItsPort) {
    ServerProcess server({"--move", "0"});
    const Client client = makeClient();
    ASSERT_EQ(connect(client, server.url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(readDouble(client, plant::tank2Level), 77.75);
    server.freeze();
    EXPECT_EQ(readDouble(client, plant::tank2Level), -1);
    server.thaw();
    server.kill();
    EXPECT_NE(connect(makeClient(), server.url()), UA_STATUSCODE_GOOD);
    server.start();
    EXPECT_EQ(connect(makeClient(), server.url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(server.terminate(), 0);
}

}  // namespace
}  // namespace nimb::test
