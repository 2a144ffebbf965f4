// The server that the benchmarks talk to, a process of its own: the plant with more values. Its
// command line is the demonstration server's; --change N:MS changes the first N doubles.

#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "bench_nodes.h"
#include "demo_server/address_space.h"
#include "demo_server/options.h"
#include "demo_server/plant_server.h"
#include "processors.h"

namespace {

using namespace nimb::bench;
using namespace nimb::plant;

void write(UA_Server* server, const NodeAddress& node, const OwnedVariant& value,
           std::int64_t time) {
    UA_DataValue data{};
    data.value = *value;  // borrowed: the server makes its own copy
    data.hasValue = true;
    data.hasSourceTimestamp = true;
    data.sourceTimestamp = time;
    const UA_StatusCode status = UA_Server_writeDataValue(server, stackId(node), data);
    if (status != UA_STATUSCODE_GOOD) throw std::runtime_error(UA_StatusCode_name(status));
}

void addValues(UA_Server* server) {
    AddressSpace space(server);
    space.addFolder(valuesFolder, "Values");
    const auto add = [&](const NodeAddress& node, std::uint32_t index, const OwnedVariant& value) {
        space.addVariable(node, valuesFolder, "V" + std::to_string(node.numeric), value);
        write(server, node, value, sourceTime(index));
    };
    for (std::uint32_t i = 0; i < doubleCount; ++i) {
        write(server, doubleNode(i), scalar<double>(i, type::doubleFloat), sourceTime(i));
    }
    for (std::uint32_t i = 0; i < integerCount; ++i) {
        add(integerNode(i), i, scalar(static_cast<UA_Int32>(i * 1001), type::int32));
    }
    for (std::uint32_t i = 0; i < textCount; ++i) {
        add(textNode(i), i, scalar(borrowed(textValue(i)), type::string));
    }
}

constexpr UA_UInt16 mostSessions = 2000;

struct Changes {
    std::uint32_t points;
    std::uint32_t done = 0;
};

void change(UA_Server* server, void* data) noexcept {
    auto& changes = *static_cast<Changes*>(data);
    ++changes.done;
    const std::int64_t now = UA_DateTime_now();
    for (std::uint32_t i = 0; i < changes.points; ++i) {
        const double value = static_cast<double>(i) + changes.done;
        write(server, doubleNode(i), scalar(value, type::doubleFloat), now - 1000 * i);
    }
}

void serve(const PlantOptions& wanted) {
    PlantOptions options = wanted;
    options.manyChildren = referenceCount - 1;
    options.bulkPoints = doubleCount;
    options.moveEvery = {};
    options.changeEvery = {};
    PlantServer plant(options);
    UA_ServerConfig* config = UA_Server_getConfig(plant.server());
    config->maxSecureChannels = config->maxSessions = mostSessions;
    addValues(plant.server());
    Changes changes{wanted.changingPoints};
    if (wanted.changeEvery.count() > 0) {
        UA_Server_addRepeatedCallback(plant.server(), change, &changes,
                                      static_cast<double>(wanted.changeEvery.count()), nullptr);
    }
    std::printf("listening %s\n", plant.url().c_str());
    std::fflush(stdout);
    while (true) plant.iterate(std::chrono::milliseconds(1000));
}

}  // namespace

int main(int argc, char** argv) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    nimb::bench::leaveFirstProcessor();
    try {
        serve(parseCommandLine(argc - 1, argv + 1).plant);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-bench-server: %s\n", error.what());
    }
    return 1;
}
