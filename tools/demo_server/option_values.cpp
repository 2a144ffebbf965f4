#include "demo_server/option_values.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <map>
#include <sstream>

namespace nimb::plant {

namespace {

double parseNumber(const std::string& text) {
    double value = 0;
    if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value)) {
        throw UsageError("\"" + text + "\" is no number");
    }
    return value;
}

/// The value that `word` names in `table`; the table's keys are what a person may choose from.
template <typename Value>
Value choose(const std::map<std::string, Value>& table, const std::string& word) {
    if (const auto found = table.find(word); found != table.end()) return found->second;
    std::string known;
    for (const auto& [name, value] : table) known += (known.empty() ? "" : ", ") + name;
    throw UsageError("\"" + word + "\" is none of " + known);
}

void applySetting(Signal& signal, const std::string& setting) {
    const auto [name, value] = halves(setting, '=');
    if (name == "period") {
        signal.period = parseDuration(value);
        if (signal.period.count() == 0) throw UsageError("a period of 0 is too short");
    } else {
        static const std::map<std::string, double Signal::*> limits{{"min", &Signal::minimum},
                                                                    {"max", &Signal::maximum}};
        signal.*choose(limits, name) = parseNumber(value);
    }
}

}  // namespace

std::pair<std::string, std::string> halves(const std::string& text, char separator) {
    const std::size_t at = text.find(separator);
    if (at == std::string::npos || at == 0) {
        throw UsageError("\"" + text + "\" is not two values with \"" + separator +
                         "\" between them");
    }
    return {text.substr(0, at), text.substr(at + 1)};
}

std::chrono::milliseconds parseDuration(const std::string& text) {
    const CLI::AsNumberWithUnit inMilliseconds(
        std::map<std::string, double>{{"ms", 1}, {"s", 1000}, {"min", 60000}});
    std::string number = text;
    double value = -1;
    try {
        if (inMilliseconds(number).empty()) value = parseNumber(number);
    } catch (const CLI::ValidationError&) {  // an unknown unit
    }
    if (!(value >= 0 && value <= 3600000)) {
        throw UsageError("\"" + text +
                         "\" is no duration up to an hour, such as 500ms, 10s or 2min");
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(value));
}

Fault parseFault(const std::string& text) {
    static const std::map<std::string, Fault::Kind> kinds{
        {"drop-sessions", Fault::Kind::dropSessions},
        {"freeze", Fault::Kind::freeze},
        {"restart", Fault::Kind::restart}};
    const auto [name, when] = halves(text, '@');
    Fault fault{choose(kinds, name), parseDuration(when.substr(0, when.find(':')))};
    if (const std::size_t colon = when.find(':'); colon != std::string::npos) {
        fault.lasts = parseDuration(when.substr(colon + 1));
    }
    return fault;
}

Signal parseSignal(const std::string& text) {
    static const std::map<std::string, Signal::Shape> shapes{{"bad", Signal::Shape::bad},
                                                             {"ramp", Signal::Shape::ramp},
                                                             {"random", Signal::Shape::random},
                                                             {"sine", Signal::Shape::sine}};
    const auto [name, rest] = halves(text, '=');
    Signal signal{name, choose(shapes, rest.substr(0, rest.find(':')))};
    const std::size_t colon = rest.find(':');
    std::istringstream settings(colon == std::string::npos ? "" : rest.substr(colon + 1));
    for (std::string setting; std::getline(settings, setting, ',');) applySetting(signal, setting);
    if (signal.minimum > signal.maximum) throw UsageError("min is greater than max in " + text);
    return signal;
}

}  // namespace nimb::plant
