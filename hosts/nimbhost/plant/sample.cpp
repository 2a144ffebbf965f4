#include "nimbhost/plant/sample.h"

#include <chrono>

#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

std::string valueText(const Sample& sample) {
    if (sample.value.isNull()) return sample.warning == nullptr ? "-" : sample.warning;
    if (const auto* text = std::get_if<std::string>(&sample.value)) return harmless(*text);
    if (const auto* time = std::get_if<host::Ticks>(&sample.value)) return host::isoText(*time);
    return harmless(host::json(sample.value));
}

std::string statusText(host::Library& library, const Sample& sample) {
    if (!sample.status) return "no form";
    return library.statusName(*sample.status & 0xFFFF0000U) +
           (sample.hasOverflow() ? ", overflow" : "");
}

std::string timeText(const std::optional<host::Ticks>& time) {
    return time ? host::isoText(*time) : "-";
}

nlohmann::ordered_json jsonOf(host::Library& library, const Sample& sample, unsigned long lost) {
    using Json = nlohmann::ordered_json;
    const auto time = [](const std::optional<host::Ticks>& ticks) {
        return ticks ? Json(host::isoText(*ticks)) : Json(nullptr);
    };
    return {{"node", sample.node},
            {"name", sample.name},
            {"value", Json::parse(host::json(sample.value), nullptr, false)},
            {"type", host::nameOf(sample.type)},
            {"status", sample.status ? Json(*sample.status) : Json(nullptr)},
            {"statusName", statusText(library, sample)},
            {"source", time(sample.source)},
            {"server", time(sample.server)},
            {"lost", lost}};
}

host::Ticks ticksNow() {
    constexpr std::int64_t epoch = 116444736000000000;  // 1970 in steps of 100 ns since 1601
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return {epoch + std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100};
}

}  // namespace nimb::nimbhost
