#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "base/connection.h"
#include "base/library.h"
#include "nimbhost/plant/discovery.h"
#include "nimbhost/plant/plant_file.h"

namespace nimb::nimbhost {

using Json = nlohmann::ordered_json;  ///< keeps the order of its names

enum ExitStatus : int {
    allWell = 0,
    failed = 1,      ///< a call or a check
    wrongInput = 2,  ///< command line, script, value
    notLoaded = 3,   ///< the library
    nothingCame = 4,
    signalled = 128,  ///< and the signal's number
};

/// What all commands share. Each command adds itself to the parser with the options that are its
/// own, and tells what it does once it is chosen.
class Tool {
  public:
    std::string libraryPath;  ///< empty: not given
    bool json = false;
    bool showCalls = false;
    bool hex = false;
    bool raw = false;
    std::vector<std::string> definitions;  ///< NAME=VALUE
    std::vector<std::string> extras;       ///< words that no option took: the values of a call
    std::function<int()> action;           ///< of the command that was chosen

    void onChosen(CLI::App* command, std::function<int()> does) {
        command->callback([this, does = std::move(does)] { action = does; });
    }

    /// The library, loaded when it is first asked for. Throws host::LoadError.
    host::Library& library();
    /// The path that library() loads.
    std::string pathOfLibrary() const;

  private:
    std::unique_ptr<host::Library> library_;
};

/// The options that choose a server.
class PlantOptions {
  public:
    /// @param positional  whether the URL may also be the first operand
    void addTo(CLI::App& command, bool positional = false);

    /// The URL as an operand, for commands that sort their operands themselves.
    void setOperand(const std::string& url) { operand_ = url; }

    /// What the options and the plant file say together. Throws BadInput.
    PlantSettings settings() const;

  private:
    std::string url_;
    std::string operand_;
    std::string plant_;
    std::string timeout_;
    std::string user_;
    std::string passwordFile_;
};

/// For a connection: asks for the password when there is a user. Throws BadInput, also for a mode
/// that the library refuses.
host::Plant plantOf(const PlantSettings& settings);
/// The same with a password that was asked for before.
host::Plant plantOf(const PlantSettings& settings, const std::string& password);
/// Throws BadInput for a mode that the library refuses.
void requireMode(const PlantSettings& settings);

/// One line to the standard output, which must be seen now: flushed.
void say(std::string_view line);
/// A JSON object in one line, flushed; bytes that are no UTF-8 become U+FFFD.
void sayJson(const Json& object);

/// A negative number in front of the parser, which would take it for an option: main() puts a blank
/// before it, and this takes the blank away.
std::string guarded(const std::string& word);
std::string_view withoutGuard(std::string_view word) noexcept;

/// What a failed call means, in one line: the failure, and behind it cause and cure where the table
/// has them.
std::string explained(const std::exception& failure, const PlantSettings& settings);

/// What the server offers. Throws std::runtime_error with cause and cure.
std::vector<Endpoint> askForEndpoints(const PlantSettings& settings);

/// What "nimbhost help" says of a topic: values, scripts, or an entry. Throws BadInput.
void helpTopic(const std::string& topic);

/// Adds a command that looks at nodes and takes no options of its own.
using NodesAction = int (*)(Tool&, const PlantSettings&, const std::vector<std::string>& nodes);
void addNodesCommand(CLI::App& app, Tool& tool, const char* name, const char* description,
                     NodesAction action);

/// The commands, one file each.
void addCall(CLI::App& app, Tool& tool);
void addCert(CLI::App& app, Tool& tool);
void addCheck(CLI::App& app, Tool& tool);
void addDoctor(CLI::App& app, Tool& tool);
void addEndpoints(CLI::App& app, Tool& tool);
void addExplain(CLI::App& app, Tool& tool);
void addFit(CLI::App& app, Tool& tool);
void addHelp(CLI::App& app, Tool& tool);
void addList(CLI::App& app, Tool& tool);
void addLs(CLI::App& app, Tool& tool);
void addRead(CLI::App& app, Tool& tool);
void addRun(CLI::App& app, Tool& tool);
void addSetup(CLI::App& app, Tool& tool);
void addShell(CLI::App& app, Tool& tool);
void addTrust(CLI::App& app, Tool& tool);
void addWatch(CLI::App& app, Tool& tool);
void addWrite(CLI::App& app, Tool& tool);

}  // namespace nimb::nimbhost
