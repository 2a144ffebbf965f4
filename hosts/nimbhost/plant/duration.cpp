#include "nimbhost/plant/duration.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <map>

#include "nimbhost/plant/plant_file.h"

namespace nimb::nimbhost {

std::chrono::milliseconds parseDuration(const std::string& text) {
    static const std::map<std::string, double> units{
        {"ms", 1}, {"s", 1000}, {"m", 60000}, {"min", 60000}, {"h", 3600000}};
    constexpr double longest = 24 * 3600000.0;
    std::string value = text;
    double number = 0;
    try {
        const std::string complaint = CLI::AsNumberWithUnit(units)(value);
        if (complaint.empty() && CLI::detail::lexical_cast(value, number) && number >= 0 &&
            number <= longest) {
            return std::chrono::milliseconds(static_cast<long>(number));
        }
    } catch (const CLI::Error&) {  // said below
    }
    throw BadInput("is a time such as 250ms, 5s or 2m, at most 24h, not \"" + text + '"');
}

std::string durationText(std::chrono::milliseconds duration) {
    const double ms = static_cast<double>(duration.count());
    std::array<char, 32> text{};
    if (ms < 1000) {
        std::snprintf(text.data(), text.size(), "%.0f ms", ms);
    } else if (ms < 60000) {
        std::snprintf(text.data(), text.size(), "%.1f s", ms / 1000);
    } else {
        std::snprintf(text.data(), text.size(), "%.3g min", ms / 60000);
    }
    return text.data();
}

std::string waitText(const std::string& what, int timeout) {
    return what + ", an answer may take " + durationText(std::chrono::milliseconds(timeout)) +
           " ...";
}

}  // namespace nimb::nimbhost
