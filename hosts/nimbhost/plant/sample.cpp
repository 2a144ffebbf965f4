#include "nimbhost/plant/sample.h"

#include <chrono>
#include <iterator>

#include "base/prepared_read.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

std::vector<Sample> readSamples(host::Connection& connection, std::span<const host::NodeId> nodes,
                                std::span<const host::NodeInfo> infos) try {
    host::PreparedRead prepared(connection, {nodes.begin(), nodes.end()});
    const host::Reading reading = prepared.read();
    std::vector<Sample> samples(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Sample& sample = samples[i];
        sample.node = sample.name = host::notation(nodes[i]);
        sample.type = infos[i].type;
        sample.value = reading.value(i, infos[i], sample.warning);
        sample.status = reading.status(i);
        sample.source = reading.sourceTime(i);
        sample.server = reading.serverTime(i);
    }
    return samples;
} catch (const host::TooLong&) {
    // It names one node; the others are still wanted.
    if (nodes.size() == 1) {
        Sample sample;
        sample.node = sample.name = host::notation(nodes[0]);
        sample.type = infos[0].type;
        sample.warning = "does not fit into the 32767 bytes of a result";
        return {sample};
    }
    const std::size_t half = nodes.size() / 2;
    auto samples = readSamples(connection, nodes.first(half), infos.first(half));
    auto others = readSamples(connection, nodes.subspan(half), infos.subspan(half));
    std::move(others.begin(), others.end(), std::back_inserter(samples));
    return samples;
}

std::string valueText(const Sample& sample) {
    if (sample.value.isNull()) return sample.warning == nullptr ? "-" : sample.warning;
    if (const auto* text = std::get_if<std::string>(&sample.value)) return harmless(*text);
    if (const auto* time = std::get_if<host::Ticks>(&sample.value)) return host::isoText(*time);
    return harmless(host::json(sample.value));
}

std::string statusText(host::Library& library, const Sample& sample) {
    if (!sample.status) return "-";
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
