// The demonstration server, seen through the stack's plain client.

#include <gtest/gtest.h>
#include <open62541/client_config_default.h>
#include <open62541/client_highlevel.h>
#include <open62541/plugin/pki_default.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "demo_server/address_space.h"
#include "demo_server/stack_values.h"
#include "testbed/server_process.h"
#include "testbed/temp_dir.h"
#include "testbed/wait_until.h"

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

/// Connects with the certificate that a server made in `folder` and trusts every server.
UA_StatusCode connectEncrypted(const std::filesystem::path& folder, const std::string& url) {
    const std::string certificate = readFile(folder / "own/server.der");
    const std::string key = readFile(folder / "own/server.key.der");
    const Client client = makeClient();
    UA_ClientConfig* config = UA_Client_getConfig(client.get());
    UA_ClientConfig_setDefaultEncryption(config, plant::borrowed(certificate), plant::borrowed(key),
                                         nullptr, 0, nullptr, 0);
    UA_CertificateVerification_AcceptAll(&config->certificateVerification);
    UA_String_clear(&config->clientDescription.applicationUri);
    config->clientDescription.applicationUri = UA_STRING_ALLOC("urn:nimbopcua:plant-server");
    return connect(client, url);
}

TEST(ServerProcess, MakesItsCertificateOnceAndTrustsWhatIsMovedIntoItsFolder) {
    namespace fs = std::filesystem;
    const TempDir directory;
    const fs::path folder = directory.path() / "plant";
    const fs::path other = directory.path() / "other";
    ServerProcess({"--encrypted", other});
    ServerProcess server({"--encrypted", folder});
    const fs::path key = folder / "own/server.key.der";
    EXPECT_EQ(fs::status(key).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(connectEncrypted(other, server.url()), UA_STATUSCODE_BADSECURITYCHECKSFAILED);
    EXPECT_NE(connect(makeClient(), server.url()), UA_STATUSCODE_GOOD);
    const fs::directory_iterator rejected(folder / "rejected");
    ASSERT_NE(rejected, fs::directory_iterator());
    fs::rename(rejected->path(), folder / "trusted/other.der");
    EXPECT_EQ(connectEncrypted(other, server.url()), UA_STATUSCODE_GOOD);

    const std::string made = readFile(key);
    server.kill();
    server.start();
    EXPECT_EQ(readFile(key), made);
    fs::copy_file(other / "own/server.key.der", key, fs::copy_options::overwrite_existing);
    server.kill();
    EXPECT_THROW(server.start(), std::runtime_error);
}

TEST(ServerProcess, FailsOnTimeAndServesSignals) {
    ServerProcess server({"--signal", "Flow=ramp:period=60s,min=5,max=6", "--signal", "Out=bad",
                          "--fault", "drop-sessions@4s", "--fault", "restart@5s:100ms"});
    const Client client = makeClient();
    ASSERT_EQ(connect(client, server.url()), UA_STATUSCODE_GOOD);
    const double flow = readDouble(client, plant::stringNode("Flow"));
    EXPECT_GE(flow, 5);
    EXPECT_LE(flow, 6);
    const auto started = [&] {  // tells the two servers apart
        plant::OwnedVariant time;
        const UA_NodeId node = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_STARTTIME);
        const Client fresh = makeClient();
        connect(fresh, server.url());
        UA_Client_readValueAttribute(fresh.get(), node, &*time);
        return time->data == nullptr ? UA_DateTime{0} : *static_cast<UA_DateTime*>(time->data);
    };
    const UA_DateTime first = started();
    EXPECT_TRUE(waitUntil([&] { return readDouble(client, plant::stringNode("Flow")) < 0; }));
    EXPECT_TRUE(waitUntil([&] { return started() > first; }));
}

class WrongCommandLines : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongCommandLines, AreRefused) {
    EXPECT_THROW(ServerProcess{GetParam()}, std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Words, WrongCommandLines,
                         testing::Values(std::vector<std::string>{"--fault", "melt@3s"},
                                         std::vector<std::string>{"--fault", "freeze@3parsec"},
                                         std::vector<std::string>{"--signal", "a=sine:period=0"},
                                         std::vector<std::string>{"--signal", "a=sine:min=3,max=1"},
                                         std::vector<std::string>{"--key", "key.pem"},
                                         std::vector<std::string>{"--change", "5"}));

}  // namespace
}  // namespace nimb::test
