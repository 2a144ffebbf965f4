#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>

#include "demo_server/plant_nodes.h"
#include "demo_server/plant_server.h"
#include "demo_server/stack_values.h"

namespace nimb::test {

/// The demonstration plant served by a thread of this process, silent and holding still unless the
/// options say otherwise. All work on the server is done by that thread, so a test changes values
/// at points of its own choosing. To be used by one thread; every member throws
/// std::runtime_error when the server does not answer in time.
class TestServer {
  public:
    /// Accepts connections when the constructor returns. Throws as PlantServer does.
    explicit TestServer(plant::PlantOptions options = {});
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    const std::string& url() const noexcept { return url_; }
    std::uint16_t port() const noexcept { return options_.port; }

    /// Calls `work(PlantServer&)` in the server's thread between two of its iterations, also while
    /// it is paused, and returns or throws what it does.
    template <typename Work>
    std::invoke_result_t<Work&, plant::PlantServer&> run(Work work) {
        std::packaged_task<std::invoke_result_t<Work&, plant::PlantServer&>()> task(
            [&] { return work(*plant_); });
        auto result = task.get_future();
        runInServerThread([&task] { task(); });
        return result.get();
    }

    /// Writes the value with status Good; the source time stamp (100 ns steps since 1601) is now
    /// when none is given.
    void setValue(const plant::NodeAddress& node, const plant::OwnedVariant& value,
                  std::optional<std::int64_t> sourceTimestamp = std::nullopt);

    /// Writes the data value with its status and source time stamp. Without one, each read gets the
    /// time of that read; the server time stamp is always the time of the read (seen with 1.4.11).
    void setDataValue(const plant::NodeAddress& node, const plant::OwnedDataValue& value);

    /// What the server holds as the node's value.
    plant::OwnedVariant value(const plant::NodeAddress& node);

    std::size_t sessionCount();

    /// Closes every session with its subscriptions but leaves the channels open, as a server does
    /// whose sessions time out. Returns how many there were.
    std::size_t closeSessions();

    /// Freezes the server: it reads and sends nothing until `resume`.
    void pause();
    void resume();

    /// Shuts the server down, closing all connections. Nothing when it is down already.
    void stop();
    /// Starts a new server, with initial values, on the same port.
    void start();
    void restart();

  private:
    void runInServerThread(std::function<void()> work);
    void serve();

    plant::PlantOptions options_;
    std::string url_;
    std::unique_ptr<plant::PlantServer> plant_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by the mutex.
    std::function<void()> work_;
    bool paused_ = false;
    bool stopping_ = false;
};

}  // namespace nimb::test
