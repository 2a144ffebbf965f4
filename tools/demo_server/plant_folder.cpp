#include <array>
#include <cmath>
#include <span>
#include <string>

#include "demo_server/address_space.h"

namespace nimb::plant {

namespace {

OwnedVariant real(double value) { return scalar(value, UA_TYPES_DOUBLE); }
OwnedVariant integer(UA_Int32 value) { return scalar(value, UA_TYPES_INT32); }

void addTanks(AddressSpace& space) {
    space.addObject(tank1, plantFolder, "Tank1");
    space.addVariable(tank1Level, tank1, "Level", real(42.5));
    space.addVariable(tank1Temperature, tank1, "Temperature", real(18.25));
    space.addVariable(tank1SetPoint, tank1, "SetPoint", real(50), Access::readWrite);
    space.addObject(tank2, plantFolder, "Tank2");
    space.addVariable(tank2Level, tank2, "Level", real(77.75));
    space.addVariable(tank2Temperature, tank2, "Temperature", real(21.5));
    space.addVariable(tank2SetPoint, tank2, "SetPoint", real(60), Access::readWrite);
}

void addPump(AddressSpace& space) {
    space.addObject(pump1, plantFolder, "Pump1");
    space.addVariable(pump1State, pump1, "State", integer(1));
    space.addVariable(pump1Running, pump1, "Running", scalar(true, UA_TYPES_BOOLEAN));
    space.addVariable(pump1Starts, pump1, "Starts", scalar(UA_UInt32{7}, UA_TYPES_UINT32));
    space.addVariable(pump1Speed, pump1, "Speed", integer(1450), Access::readWrite);
}

void addArrays(AddressSpace& space) {
    constexpr std::array<UA_Int32, 8> numbers{1, 2, 3, 4, 5, 6, 7, 8};
    constexpr std::array<double, 1> single{2.5};
    const std::span<const UA_Int32> all(numbers);
    const auto six = all.first(6);
    space.addVariable(sixNumbers, plantFolder, "SixNumbers", array(six, UA_TYPES_INT32));
    space.addVariable(oneNumber, plantFolder, "OneNumber",
                      array(std::span<const double>(single), UA_TYPES_DOUBLE));
    space.addVariable(matrix2x3, plantFolder, "Matrix2x3", array(six, UA_TYPES_INT32, {2, 3}));
    space.addVariable(cube2x2x2, plantFolder, "Cube2x2x2", array(all, UA_TYPES_INT32, {2, 2, 2}));
}

/// Of nodes that are surely there: a failure can only be a lack of memory, and then the value holds
/// still for one step.
void write(UA_Server* server, const NodeAddress& node, const OwnedVariant& value) {
    UA_Server_writeValue(server, stackId(node), *value);
}

std::string numbered(const char* prefix, std::uint32_t number) {
    std::string digits = std::to_string(number);
    if (digits.size() < 4) digits.insert(0, 4 - digits.size(), '0');
    return prefix + digits;
}

}  // namespace

void addPlant(AddressSpace& space) {
    space.addFolder(plantFolder, "Plant");
    addTanks(space);
    addPump(space);
    addArrays(space);
    space.addVariable(coolingNote, plantFolder, "Kühlwasser",
                      scalar(borrowed(coolingText), UA_TYPES_STRING));
}

void addMany(AddressSpace& space, std::uint32_t children) {
    space.addFolder(manyFolder, "Many");
    for (std::uint32_t i = 0; i < children; ++i) {
        const std::string name = numbered("Measuring point in the north hall, number ", i);
        space.addVariable(manyChild(i), manyFolder, name, integer(static_cast<UA_Int32>(i)));
    }
}

void addBulk(AddressSpace& space, std::uint32_t points) {
    space.addFolder(bulkFolder, "Bulk");
    for (std::uint32_t i = 0; i < points; ++i) {
        space.addVariable(bulkPoint(i), bulkFolder, numbered("D", i), real(i));
    }
}

void movePlant(UA_Server* server, std::uint32_t step) {
    const double angle = 0.1 * step;
    write(server, tank1Level, real(50 + 30 * std::sin(angle)));
    write(server, tank2Level, real(50 - 30 * std::sin(angle)));
    write(server, tank1Temperature, real(18 + 4 * std::cos(angle)));
    write(server, tank2Temperature, real(21 + 2 * std::cos(2 * angle)));
    // The pump runs for ten steps and rests for ten; its starts go on counting.
    const bool running = step / 10 % 2 == 0;
    write(server, pump1Running, scalar(running, UA_TYPES_BOOLEAN));
    write(server, pump1State, integer(running ? 1 : 0));
    write(server, pump1Starts, scalar(UA_UInt32{7 + step / 20}, UA_TYPES_UINT32));
}

void changeBulk(UA_Server* server, std::uint32_t points, std::uint32_t changes) {
    for (std::uint32_t i = 0; i < points; ++i) {
        write(server, bulkPoint(i), real(static_cast<double>(i) + changes));
    }
}

}  // namespace nimb::plant
