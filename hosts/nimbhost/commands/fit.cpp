// nimbhost fit: how much of a result's 32767 bytes a poll of some nodes takes, and how many lines
// of a subscription.

#include <iostream>
#include <optional>

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/fitting.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::string judged(const PollSize& size, std::size_t nodes) {
    if (!size.bytes) return "DOES NOT FIT: read fewer nodes";
    const std::size_t alarmed = *size.bytes + 4 * nodes;
    return alarmed > nimb_string_capacity ? "does not fit any more once every status is bad"
                                          : "fits";
}

void showSizes(const Fitting& fitting, std::size_t nodes) {
    Table table(
        {{"CALL"}, {"BYTES", Column::right}, {"OF 32767", Column::right}, {"", Column::cut}});
    for (const PollSize& size : fitting.polls) {
        const std::string bytes = size.bytes ? std::to_string(*size.bytes) : "-";
        const std::string share =
            size.bytes ? std::to_string(*size.bytes * 100 / nimb_string_capacity) + " %" : "-";
        table.add({size.entry, bytes, share, judged(size, nodes)});
    }
    std::cout << table.text(tableWidth());
    if (fitting.lineBytes == 0) return;
    if (fitting.lines == 0) {
        say("A line of a subscription takes " + std::to_string(fitting.lineBytes) +
            " bytes and does not fit: spread the nodes over several subscriptions.");
    } else {
        say("A line of a subscription takes " + std::to_string(fitting.lineBytes) +
            " bytes: at most " + std::to_string(fitting.lines) + " lines a poll.");
    }
    say("Reckoned with the values of now: texts and arrays may grow.");
}

int fit(Tool& tool, const PlantSettings& settings, const std::vector<std::string>& typed) {
    host::Connection connection(tool.library(), plantOf(settings));
    try {
        std::optional<Progress> progress(
            waitText("reading from " + settings.url, settings.timeout));
        std::vector<host::NodeId> ids;
        for (const NamedNode& node : resolveNodes(connection, typed, settings.defaultNamespace)) {
            ids.push_back(node.id);
        }
        const Fitting fitting = fittingOf(connection, ids);
        progress.reset();
        bool good = fitting.lineBytes != 0 && fitting.lines != 0;
        for (const PollSize& size : fitting.polls) {
            good = good && size.bytes.has_value();
            if (tool.json) {
                sayJson(Json{{"entry", size.entry},
                             {"bytes", size.bytes ? Json(*size.bytes) : Json()}});
            }
        }
        if (tool.json) {
            sayJson(Json{{"lineBytes", fitting.lineBytes}, {"lines", fitting.lines}});
        } else {
            showSizes(fitting, ids.size());
        }
        return good ? allWell : failed;
    } catch (const host::Failure& failure) {
        throw std::runtime_error(explained(failure, settings));
    }
}

}  // namespace

void addFit(CLI::App& app, Tool& tool) {
    addNodesCommand(app, tool, "fit", "whether a poll of these nodes fits into a result", fit);
}

}  // namespace nimb::nimbhost
