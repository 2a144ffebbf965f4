#include "demo_server/plant_server.h"

#include <stdexcept>

#include "demo_server/address_space.h"
#include "demo_server/port_probe.h"
#include "demo_server/server_config.h"
#include "demo_server/session_list.h"
#include "demo_server/subscription_watch.h"

namespace nimb::plant {

namespace {

void require(UA_StatusCode status, const char* failure) {
    if (status == UA_STATUSCODE_GOOD) return;
    throw std::runtime_error(std::string(failure) + ": " + UA_StatusCode_name(status));
}

}  // namespace

void PlantServer::Deleter::operator()(UA_Server* server) const noexcept {
    if (UA_Server_getLifecycleState(server) != UA_LIFECYCLESTATE_STOPPED) {
        UA_Server_run_shutdown(server);
    }
    UA_Server_delete(server);
}

PlantServer::PlantServer(const PlantOptions& options)
    : signals_(options.signals),
      sessions_(std::make_unique<SessionList>(options.say)),
      changingPoints_(options.changingPoints) {
    // Two servers could share a port unnoticed: see makeServerConfig.
    if (options.port != 0 && !portIsFree(options.port)) {
        throw std::runtime_error("port " + std::to_string(options.port) + " is taken");
    }
    UA_ServerConfig config = makeServerConfig(options);
    sessions_->watch(config);
    server_.reset(UA_Server_newWithConfig(&config));
    if (!server_) throw std::runtime_error("the server cannot be created");
    addNodes(options);
    // Not before: a limit on browsing keeps the stack from building its own nodes (1.4.11).
    UA_Server_getConfig(server())->maxReferencesPerNode = options.maxReferencesPerNode;
    startTimers(options);
    listen();
}

PlantServer::~PlantServer() = default;

void PlantServer::addNodes(const PlantOptions& options) {
    if (UA_Server_addNamespace(server(), namespaceUri) != namespaceIndex) {
        throw std::runtime_error("the plant's namespace has another index than expected");
    }
    AddressSpace space(server());
    addPlant(space);
    addAllTypes(space);
    addWritable(space);
    addOddValues(space);
    addMany(space, options.manyChildren);
    addBulk(space, options.bulkPoints);
    addSignals(space, signals_);
}

void PlantServer::startTimers(const PlantOptions& options) {
    if (options.changingPoints > options.bulkPoints) {
        throw std::runtime_error("more changing points than measuring points");
    }
    if (options.moveEvery.count() > 0) {
        const auto move = [](UA_Server* server, void* self) {
            movePlant(server, ++static_cast<PlantServer*>(self)->step_);
        };
        repeat(move, options.moveEvery);
    }
    if (options.changeEvery.count() > 0) {
        const auto change = [](UA_Server* server, void* self) {
            auto& plant = *static_cast<PlantServer*>(self);
            changeBulk(server, plant.changingPoints_, ++plant.changes_);
        };
        repeat(change, options.changeEvery);
    }
    if (options.say) {
        subscriptions_ = std::make_unique<SubscriptionWatch>(options.say);
        const auto look = [](UA_Server* server, void* self) {
            static_cast<PlantServer*>(self)->subscriptions_->look(server);
        };
        repeat(look, std::chrono::milliseconds(250));
    }
}

void PlantServer::repeat(UA_ServerCallback callback, std::chrono::milliseconds interval) {
    require(UA_Server_addRepeatedCallback(server(), callback, this,
                                          static_cast<double>(interval.count()), nullptr),
            "the server has no timer");
}

void PlantServer::listen() {
    require(UA_Server_run_startup(server()), "the server cannot start");
    // The first discovery address is the one really listened on, so it tells the port that the
    // system picked (seen with 1.4.11).
    const UA_ApplicationDescription& self = UA_Server_getConfig(server())->applicationDescription;
    if (self.discoveryUrlsSize > 0) {
        UA_String host = UA_STRING_NULL;
        UA_parseEndpointUrl(&self.discoveryUrls[0], &host, &port_, nullptr);
    }
    if (port_ == 0) throw std::runtime_error("the server does not tell its port");
    url_ = "opc.tcp://127.0.0.1:" + std::to_string(port_);
}

void PlantServer::iterate(std::chrono::milliseconds maxWait) {
    // UA_Server_run_iterate would do, but offers no wait between nothing and the stack's maximum.
    UA_EventLoop* loop = UA_Server_getConfig(server())->eventLoop;
    loop->run(loop, static_cast<UA_UInt32>(maxWait.count()));
}

std::size_t PlantServer::sessionCount() const noexcept { return sessions_->size(); }

std::size_t PlantServer::closeSessions() { return sessions_->closeAll(server()); }

}  // namespace nimb::plant
