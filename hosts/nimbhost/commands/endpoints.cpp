// nimbhost endpoints: what a server offers, one line each.

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/discovery.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& word : words) out += (out.empty() ? "" : ", ") + word;
    return out;
}

Json certificateJson(const Endpoint& endpoint) {
    if (!endpoint.certificate) return nullptr;
    return {{"subject", endpoint.certificate->subject()},
            {"uri", endpoint.certificate->applicationUri()},
            {"notAfter", dayText(endpoint.certificate->notAfter())},
            {"sha256", endpoint.certificate->sha256()}};
}

void showEndpoints(const std::vector<Endpoint>& endpoints, bool json) {
    Table table({{"URL"}, {"POLICY"}, {"MODE"}, {"LOG-IN", Column::cut}});
    for (const Endpoint& endpoint : endpoints) {
        if (json) {
            sayJson(Json{{"url", endpoint.url},
                         {"policy", endpoint.policy},
                         {"mode", modeName(endpoint.mode)},
                         {"tokens", endpoint.tokens},
                         {"certificate", certificateJson(endpoint)}});
        } else {
            table.add({harmless(endpoint.url), harmless(endpoint.policy), modeName(endpoint.mode),
                       joined(endpoint.tokens)});
        }
    }
    if (json) return;
    std::cout << table.text(tableWidth());
    const Endpoint* encrypted = encryptedEndpoint(endpoints);
    if (encrypted != nullptr && encrypted->certificate) {
        say("certificate " + harmless(encrypted->certificate->subject()) + ", " +
            harmless(encrypted->certificate->applicationUri()) + ", until " +
            dayText(encrypted->certificate->notAfter()));
        say("sha256 " + encrypted->certificate->sha256());
    }
}

}  // namespace

void addEndpoints(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("endpoints", "what a server offers, one line each");
    const auto plant = std::make_shared<PlantOptions>();
    plant->addTo(*command, true);
    tool.onChosen(command, [plant, &tool]() -> int {
        showEndpoints(askForEndpoints(plant->settings()), tool.json);
        return allWell;
    });
}

}  // namespace nimb::nimbhost
