#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "failures.h"
#include "testbed/host.h"
#include "testbed/nodes.h"
#include "testbed/test_server.h"

namespace nimb::test {

inline constexpr long noClient = 424242;  // a handle that is never issued

inline const std::string fixedTimeText = "u\"2000-01-01 12:00:00.1234567\"";

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

    static long bareClient() { return host_->bareClient(); }

    static inline std::optional<TestServer> server_;
    static inline std::optional<Host> host_;
    static inline long client_ = 0;
};

}  // namespace nimb::test
