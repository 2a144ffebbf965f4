#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "demo_server/plant_nodes.h"
#include "support/host.h"
#include "support/test_server.h"

namespace nimb::test {

inline constexpr long noClient = 424242;  // a handle that is never issued
inline constexpr int valueAttribute = 13;

inline const std::string fixedTimeText = "u\"2000-01-01 12:00:00.1234567\"";

inline std::string applicationError(int code, const std::string& text = "") {
    constexpr const char* names[] = {"No error",
                                     "Client instance not found, Bad handle",
                                     "Not connected",
                                     "Unsupported SSL version",
                                     "Bad node id",
                                     "Variant conversion error",
                                     "Data type not supported",
                                     "Client found but uninitialized",
                                     "Undefined error",
                                     "Other error",
                                     "Undefined error"};
    return failure(2, code,
                   "Application Error [" + std::to_string(code) + "] : " + names[code] +
                       (text.empty() ? "" : " : " + text));
}
/// @param status  as the host sees it: "0x80AE0000  [BadConnectionClosed] The network ..."
inline std::string statusError(unsigned code, const std::string& status, const std::string& text) {
    return failure(4, code, "OPC UA Error " + status + " : " + text);
}
/// The failure of a foreign exception, or another of kind 5 to 7 and code 10.
inline std::string unknownError(const std::string& text, int kind = 7) {
    return failure(kind, 10, "Unknown Error : " + text);
}
inline std::string closedConnection(const std::string& text) {
    return statusError(0x80AE0000,
                       "0x80AE0000  [BadConnectionClosed] The network connection has been closed.",
                       text);
}

inline const std::string badHandle = applicationError(1);
inline const std::string uninitialized = applicationError(7);
inline const std::string resetRequired = applicationError(9, "Client reset required");
inline const std::string inconsistentLists = applicationError(9, "Inconsistent input list lengths");

/// The items of `list` from position `first` on.
inline VeltoROList itemsFrom(const VeltoROList& list, std::size_t first) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < first; ++i) offset += list.checkedItemSize(offset);
    return {list.data() + offset, list.datalength() - offset};
}

/// The items of all lists, one behind the other.
template <typename... List>
VeltoList joined(const List&... lists) {
    VeltoList all;
    (all.appendList(lists), ...);
    return all;
}

/// One of the plant's nodes as the arguments identifier, namespace, identifier type.
inline VeltoList nodeId(const plant::NodeAddress& node) {
    if (node.text.empty()) return listOf(static_cast<long>(node.numeric), 2, 0);
    return listOf(std::string(node.text), 2, 3);
}

/// A property of a specification, and the specification itself.
template <typename Name>
VeltoList property(const Name& name, long space = 2, long attribute = valueAttribute) {
    return listOf("", "", space, name, attribute);
}
template <typename... Property>
VeltoList container(const Property&... properties) {
    return listOf("", "", listOf("", properties...));
}

/// A server with a client connected to it, for all tests of a suite.
class PlantTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        plant::PlantOptions options;
        options.bulkPoints = 500;
        server_.emplace(options);
        host_.emplace();
        client_ = host_->connectedClient(server_->url());
    }
    static void TearDownTestSuite() {
        host_->call("zfDestroyClientB", client_);
        server_.reset();
    }
    void TearDown() override { setStringMode(0); }

    /// For the whole process; a set-up stores it even when its handle is bad.
    static void setStringMode(int mode) {
        host_->call("zfSetupClientC", noClient, 0, 1, "", "", "", "", "", mode);
    }

    /// A set-up that is refused: the client must be set up again before use.
    static void requireReset(long client) {
        host_->call("zfSetupClientC", client, 0, 2, "", "", "", "", "", 0);
    }

    static long bareClient() { return host_->call("zfCreateClientB")[1].AsLong(); }

    static inline std::optional<TestServer> server_;
    static inline std::optional<Host> host_;
    static inline long client_ = 0;
};

}  // namespace nimb::test
