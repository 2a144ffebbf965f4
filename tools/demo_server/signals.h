#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace nimb::plant {

class AddressSpace;

/// A variable of the Signals folder whose value is worked out when somebody looks at it. Its node
/// id is its name in the plant's namespace.
struct Signal {
    enum class Shape {
        sine,    ///< swings between the limits once a period
        ramp,    ///< rises from the lower to the upper limit in a period and falls back at once
        random,  ///< another value between the limits every period
        bad,     ///< a ramp that is Good in the first half of a period, then BadSensorFailure
    };

    std::string name;
    Shape shape = Shape::sine;
    std::chrono::milliseconds period{10000};  ///< above 0
    double minimum = 0;
    double maximum = 100;
};

/// Adds the folder and its variables; `signals` must outlive the server.
void addSignals(AddressSpace& space, const std::vector<Signal>& signals);

/// The value between the limits at `phase`, periods since 1601 with their fraction.
double valueAt(const Signal& signal, double phase);

}  // namespace nimb::plant
