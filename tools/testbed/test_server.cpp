#include "testbed/test_server.h"

#include <stdexcept>
#include <utility>

#include "demo_server/address_space.h"
#include "testbed/wait_until.h"

namespace nimb::test {

namespace {

/// Longest time that work for the server's thread waits for an idle server.
constexpr std::chrono::milliseconds iteration{5};

void require(UA_StatusCode status, const char* step) {
    if (status == UA_STATUSCODE_GOOD) return;
    throw std::runtime_error(std::string(step) + ": " + UA_StatusCode_name(status));
}

}  // namespace

TestServer::TestServer(plant::PlantOptions options) : options_(std::move(options)) { start(); }

TestServer::~TestServer() { stop(); }

void TestServer::start() {
    if (thread_.joinable()) return;
    plant_ = std::make_unique<plant::PlantServer>(options_);
    options_.port = plant_->port();
    url_ = plant_->url();
    stopping_ = false;
    paused_ = false;
    thread_ = std::thread([this] { serve(); });
}

void TestServer::stop() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
    plant_.reset();
}

void TestServer::restart() {
    stop();
    start();
}

void TestServer::serve() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (work_) {
            std::exchange(work_, nullptr)();
            changed_.notify_all();
        }
        if (paused_) {
            changed_.wait(lock, [this] { return stopping_ || !paused_ || work_; });
            continue;
        }
        lock.unlock();
        plant_->iterate(iteration);
        lock.lock();
    }
}

void TestServer::runInServerThread(std::function<void()> work) {
    if (!thread_.joinable()) throw std::runtime_error("the test server is stopped");
    std::unique_lock lock(mutex_);
    work_ = std::move(work);
    changed_.notify_all();
    if (!changed_.wait_for(lock, patience, [this] { return !work_; })) {
        work_ = nullptr;
        throw std::runtime_error("the test server does not answer");
    }
}

void TestServer::setValue(const plant::NodeAddress& node, const plant::OwnedVariant& value,
                          std::optional<std::int64_t> sourceTimestamp) {
    run([&](plant::PlantServer& plant) {
        UA_DataValue data{};
        data.value = *value;  // borrowed: the server makes its own copy
        data.hasValue = true;
        data.hasSourceTimestamp = true;
        data.sourceTimestamp = sourceTimestamp.value_or(UA_DateTime_now());
        require(UA_Server_writeDataValue(plant.server(), stackId(node), data), "set a value");
    });
}

void TestServer::setDataValue(const plant::NodeAddress& node, const plant::OwnedDataValue& value) {
    run([&](plant::PlantServer& plant) {
        require(UA_Server_writeDataValue(plant.server(), stackId(node), *value),
                "set a data value");
    });
}

plant::OwnedVariant TestServer::value(const plant::NodeAddress& node) {
    return run([&](plant::PlantServer& plant) {
        plant::OwnedVariant value;
        require(UA_Server_readValue(plant.server(), stackId(node), &*value), "read a value");
        return value;
    });
}

std::size_t TestServer::sessionCount() {
    return run([](plant::PlantServer& plant) { return plant.sessionCount(); });
}

std::size_t TestServer::closeSessions() {
    return run([](plant::PlantServer& plant) { return plant.closeSessions(); });
}

void TestServer::pause() {
    // Inside the server's thread the lock is held, and no iteration is under way.
    run([this](plant::PlantServer&) { paused_ = true; });
}

void TestServer::resume() {
    {
        const std::lock_guard lock(mutex_);
        paused_ = false;
    }
    changed_.notify_all();
}

}  // namespace nimb::test
