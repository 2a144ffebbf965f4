#include "demo_server/signals.h"

#include <cmath>
#include <numbers>
#include <random>

#include "demo_server/address_space.h"

namespace nimb::plant {

namespace {

UA_StatusCode readSignal(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* context,
                         UA_Boolean, const UA_NumericRange*, UA_DataValue* out) noexcept {
    const auto& signal = *static_cast<const Signal*>(context);
    const UA_DateTime now = UA_DateTime_now();
    const double phase =
        static_cast<double>(now) / UA_DATETIME_MSEC / static_cast<double>(signal.period.count());
    const double value = valueAt(signal, phase);
    out->hasSourceTimestamp = true;
    out->sourceTimestamp = now;
    if (signal.shape == Signal::Shape::bad && phase - std::floor(phase) >= 0.5) {
        out->hasStatus = true;
        out->status = UA_STATUSCODE_BADSENSORFAILURE;
    }
    out->hasValue = true;
    return UA_Variant_setScalarCopy(&out->value, &value, &UA_TYPES[UA_TYPES_DOUBLE]);
}

}  // namespace

double valueAt(const Signal& signal, double phase) {
    double share = phase - std::floor(phase);
    if (signal.shape == Signal::Shape::sine) {
        share = 0.5 + 0.5 * std::sin(2 * std::numbers::pi * share);
    } else if (signal.shape == Signal::Shape::random) {
        // The same for everybody who looks within one period.
        std::minstd_rand generator(static_cast<std::uint32_t>(std::fmod(std::floor(phase), 1e9)));
        generator.discard(2);
        share = std::generate_canonical<double, 32>(generator);
    }
    return signal.minimum + share * (signal.maximum - signal.minimum);
}

void addSignals(AddressSpace& space, const std::vector<Signal>& signals) {
    if (signals.empty()) return;
    space.addFolder(signalsFolder, "Signals");
    for (const Signal& signal : signals) {
        const NodeAddress node = stringNode(signal.name);
        // The stack hands the context on as it got it; readSignal only reads.
        space.addDataSource(node, signalsFolder, signal.name, {readSignal, nullptr},
                            const_cast<Signal*>(&signal));
        UA_Server_writeDataType(space.server(), stackId(node), UA_TYPES[UA_TYPES_DOUBLE].typeId);
        UA_Server_writeValueRank(space.server(), stackId(node), UA_VALUERANK_SCALAR);
    }
}

}  // namespace nimb::plant
