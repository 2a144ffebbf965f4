#include "nimbhost/commands/tool.h"

#include <cstdlib>
#include <iostream>

#include "nimbhost/causes/causes.h"
#include "nimbhost/default_library.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/render.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

/// The call in the notation of scripts, with the variables that hold its handles there. Passwords
/// are variables, too: they are shown nowhere.
void showCall(std::string_view entry, const VeltoROList& arguments) {
    if (entry == "zfGetStatusCodeNameB") return;  // for the reader of this tool only
    const standin::EntryHelp* help = standin::findHelp(entry);
    const std::string_view names = help == nullptr ? "" : help->arguments;
    std::string line(entry);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string name = standin::fieldName(names, i);
        const bool variable =
            name == "handle" || name == "query" || name == "subscription" || name == "password";
        const VeltoListItem item = arguments.at(i);
        const VeltoROList alone(item.header(), item.size());
        line += (i == 0 ? " " : ", ") +
                (variable ? '$' + name : standin::describe(alone, standin::Nesting::guess));
    }
    std::cerr << line << '\n';
}

}  // namespace

std::string Tool::pathOfLibrary() const {
    if (!libraryPath.empty()) return libraryPath;
    const char* fromEnvironment = std::getenv("NIMBOPCUA_LIBRARY");
    return fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment
                                                                  : standin::defaultLibrary();
}

host::Library& Tool::library() {
    if (!library_) {
        library_ = std::make_unique<host::Library>(pathOfLibrary());
        if (showCalls) library_->observe(showCall);
    }
    return *library_;
}

void PlantOptions::addTo(CLI::App& command, bool positional) {
    command.add_option("-u,--url", url_, "the server, opc.tcp://HOST:PORT")->type_name("URL");
    command.add_option("-p,--plant", plant_, "a plant file: ./NAME.conf, or in /etc/nimbopcua")
        ->type_name("NAME");
    command.add_option("--timeout", timeout_, "how long a request may take, 3s unless given")
        ->type_name("TIME");
    command.add_option("--user", user_, "log in by this name; the password: see --password-file")
        ->type_name("NAME");
    command
        .add_option("--password-file", passwordFile_,
                    "file with the password; left out: $NIMBOPCUA_PASSWORD, or it is asked for")
        ->type_name("FILE");
    if (positional) command.add_option("URL", operand_, "the same as --url");
}

PlantSettings PlantOptions::settings() const {
    if (!operand_.empty() && !url_.empty()) throw BadInput("the URL is given twice");
    PlantSettings settings;
    if (!plant_.empty()) settings = readPlantFile(plant_);
    const std::string& url = operand_.empty() ? url_ : operand_;
    if (!url.empty()) settings.url = url;
    if (settings.url.empty()) {
        throw BadInput(plant_.empty() ? "which server? give --url opc.tcp://HOST:PORT or --plant "
                                        "NAME"
                                      : settings.file.string() + " names no url; give --url");
    }
    if (!settings.url.starts_with("opc.tcp://")) {
        throw BadInput("a URL begins with opc.tcp://, as in opc.tcp://plant:4840; not \"" +
                       settings.url + '"');
    }
    if (!timeout_.empty()) {
        try {
            settings.timeout = static_cast<int>(parseDuration(timeout_).count());
        } catch (const BadInput& error) {
            throw BadInput(std::string("--timeout ") + error.what());
        }
    }
    if (!user_.empty()) settings.user = user_;
    if (!passwordFile_.empty()) settings.passwordFile = passwordFile_;
    return settings;
}

host::Plant plantOf(const PlantSettings& settings, const std::string& password) {
    host::Plant plant;
    plant.url = settings.url;
    plant.timeout = settings.timeout;
    if (settings.isEncrypted()) {
        plant.certificate = settings.certificate;
        plant.key = settings.key;
        plant.trusted = settings.trusted;
        plant.revoked = settings.revoked;
        plant.uri = settings.uri;
    }
    plant.username = settings.user;
    if (settings.user) plant.password = password;
    return plant;
}

host::Plant plantOf(const PlantSettings& settings) {
    requireMode(settings);
    return plantOf(settings, settings.user ? passwordFor(settings) : "");
}

void requireMode(const PlantSettings& settings) {
    if (settings.mode != 2) return;
    throw BadInput(settings.file.string() +
                   ": mode = sign is not supported by the library; use encrypt or none");
}

void addNodesCommand(CLI::App& app, Tool& tool, const char* name, const char* description,
                     NodesAction action) {
    CLI::App* command = app.add_subcommand(name, description);
    const auto plant = std::make_shared<PlantOptions>();
    const auto nodes = std::make_shared<std::vector<std::string>>();
    plant->addTo(*command);
    command->add_option("NODE", *nodes, "ns=2;s=Tank1.Level, a path, or a bare name")->required();
    tool.onChosen(command, [=, &tool] { return action(tool, plant->settings(), *nodes); });
}

void say(std::string_view line) { std::cout << line << '\n' << std::flush; }

void sayJson(const Json& object) {
    say(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string guarded(const std::string& word) {
    const bool number =
        word.size() > 1 && word[0] == '-' && ((word[1] >= '0' && word[1] <= '9') || word[1] == '.');
    return number ? ' ' + word : word;
}

std::string_view withoutGuard(std::string_view word) noexcept {
    const bool number = word.size() > 2 && word[0] == ' ' && word[1] == '-';
    return number ? word.substr(1) : word;
}

std::string explained(const std::exception& failure, const PlantSettings& settings) {
    using enum CauseTable;
    std::string out = failure.what();
    const bool connecting = out.find("Unable to connect") != std::string::npos;
    const CauseTable encrypted[] = {connecting ? connect : setUp, reach, fault};
    const CauseTable inClear[] = {reach, fault};
    const auto rows =
        settings.isEncrypted() ? causesOf(encrypted, out, "") : causesOf(inClear, out, "");
    if (!rows.empty() && *rows[0]->cause != '\0') {
        out += "; " + plain(rows[0]->cause) + ": " + plain(rows[0]->cure);
    }
    const std::string which = settings.name.empty() ? settings.url : "--plant " + settings.name;
    return out + "; \"nimbhost doctor " + which + "\" looks closer";
}

std::vector<Endpoint> askForEndpoints(const PlantSettings& settings) {
    const Progress progress(
        waitText("asking " + settings.url + " for its endpoints", settings.timeout));
    try {
        return endpointsOf(settings.url, std::chrono::milliseconds(settings.timeout));
    } catch (const DiscoveryError& error) {
        throw std::runtime_error(settings.url + ": " + explained(error, settings));
    }
}

}  // namespace nimb::nimbhost
