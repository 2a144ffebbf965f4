// nimbhost read: one line a node.

#include <iostream>

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/plant/sample.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::vector<Sample> samplesOf(host::Connection& connection, const std::vector<NamedNode>& nodes) {
    std::vector<host::NodeId> ids;
    for (const NamedNode& node : nodes) ids.push_back(node.id);
    auto samples = readSamples(connection, ids, host::NodeCatalogue(connection).describe(ids));
    for (std::size_t i = 0; i < nodes.size(); ++i) samples[i].name = nodes[i].typed;
    return samples;
}

int readNodes(Tool& tool, const PlantSettings& settings, const std::vector<std::string>& typed) {
    host::Connection connection(tool.library(), plantOf(settings));
    std::vector<Sample> samples;
    try {
        const Progress progress(waitText("reading from " + settings.url, settings.timeout));
        samples = samplesOf(connection, resolveNodes(connection, typed, settings.defaultNamespace));
    } catch (const host::Failure& failure) {
        throw std::runtime_error(explained(failure, settings));
    }
    Table table({{"NODE"}, {"VALUE", Column::cut}, {"STATUS"}, {"SOURCE TIME"}}, false);
    bool good = true;
    for (const Sample& sample : samples) {
        good = good && !sample.isBad();
        if (tool.json) {
            sayJson(jsonOf(tool.library(), sample, 0));
        } else {
            table.add({harmless(sample.name), valueText(sample), statusText(tool.library(), sample),
                       timeText(sample.source)});
        }
    }
    if (!tool.json) std::cout << table.text(tableWidth());
    return good ? allWell : failed;
}

}  // namespace

void addRead(CLI::App& app, Tool& tool) {
    addNodesCommand(app, tool, "read", "values, one line a node", readNodes);
}

}  // namespace nimb::nimbhost
