// nimbhost setup: the calls that connect a host to a plant, ready to copy.

#include <iostream>

#include "list/velto_list.h"
#include "nimbhost/commands/tool.h"
#include "nimbhost/render.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

struct HostCall {
    std::string entry;
    bool handle;          ///< the first argument is the client's handle
    VeltoList arguments;  ///< those behind it
    bool password = false;
};

std::string absolute(const std::string& path) {
    return path.empty() ? path : fs::absolute(path).lexically_normal().string();
}

std::vector<HostCall> callsFor(const PlantSettings& plant) {
    // Without encryption the library ignores the files, so none are shown.
    const bool encrypted = plant.isEncrypted();
    const auto file = [encrypted](const std::string& path) {
        return encrypted ? absolute(path) : std::string();
    };
    const HostCall setUp{"zfSetupClientC", true,
                         VeltoList() + plant.timeout + plant.mode + file(plant.certificate) +
                             file(plant.key) + file(plant.trusted) + file(plant.revoked) +
                             (encrypted ? plant.uri : std::string()) + plant.stringMode};
    HostCall connect{"zfConnectB", true, VeltoList() + plant.url};
    if (plant.user) {
        connect = {"zfConnectUser", true, VeltoList() + plant.url + *plant.user, true};
    }
    constexpr int clock = 2258;
    constexpr int value = 13;
    return {{"zfCreateClientB", false, {}},
            setUp,
            connect,
            {"zfReadAttribute", true, VeltoList() + clock + 0 + 0 + value},
            {"zfDestroyClientB", true, {}}};
}

/// In the notation of scripts; the password is a variable, for it is shown nowhere.
std::string scriptLine(const HostCall& call) {
    const std::string rest = standin::describe(call.arguments, standin::Nesting::raw);
    std::string line = call.entry + (call.handle ? " $handle" : "");
    line += rest.empty() ? "" : ", " + rest;
    return line + (call.password ? ", $password" : "");
}

void showBytes(const HostCall& call) {
    say(scriptLine(call));
    VeltoList arguments;
    constexpr int firstHandle = 1;
    if (call.handle) arguments += firstHandle;
    arguments.appendList(call.arguments);
    if (call.password) arguments += std::string("PASSWORD");
    std::cout << (arguments.empty() ? "    no arguments\n"
                                    : standin::hexDump({arguments.data(), arguments.datalength()}));
}

int show(const Tool& tool, const PlantSettings& plant) {
    requireMode(plant);
    for (const HostCall& call : callsFor(plant)) {
        if (tool.json) {
            sayJson(Json{{"entry", call.entry}, {"call", scriptLine(call)}});
        } else if (tool.hex) {
            showBytes(call);
        } else {
            say(scriptLine(call));
        }
    }
    if (tool.hex && !tool.json) {
        say("The handle is 1 here: put in what zfCreateClientB answers.");
    }
    return allWell;
}

}  // namespace

void addSetup(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand(
        "setup", "the host's calls for a plant, ready to copy; --hex shows their bytes");
    const auto plant = std::make_shared<PlantOptions>();
    plant->addTo(*command, true);
    tool.onChosen(command, [plant, &tool] { return show(tool, plant->settings()); });
}

}  // namespace nimb::nimbhost
