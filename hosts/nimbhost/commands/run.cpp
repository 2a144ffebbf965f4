// nimbhost run: the calls of a script.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "nimbhost/commands/script_player.h"
#include "nimbhost/password_mask.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::string readScript(const std::string& name) {
    std::ifstream file;
    if (name == "-" && isTerminal(0)) {
        std::cerr << "Type a script and end it with Ctrl-D; \"nimbhost shell\" answers line by "
                     "line.\n";
    }
    if (name != "-") {
        if (std::filesystem::is_directory(name)) {
            throw BadInput(name + " is a folder; run takes a script, or - for the standard input");
        }
        file.open(name, std::ios::binary);
        if (!file) throw BadInput("cannot read the script " + name);
    }
    std::istream& in = name == "-" ? std::cin : file;
    std::string script{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) throw BadInput("cannot read the script " + name);
    checkInterrupted();
    return script;
}

int runScript(Tool& tool, const std::string& name) {
    ScriptPlayer script(tool);
    standin::ScriptContext& context = script.context();
    const std::vector<standin::Statement> statements =
        standin::parseScript(name == "-" ? "standard input" : name, readScript(name),
                             context.variables(), context.entryNames());
    const standin::Statement* wrong = script.runner().run(statements);
    if (wrong == nullptr) return allWell;
    std::cout << std::flush;
    std::cerr << "nimbhost: " << wrong->place << ": this call "
              << (wrong->failureExpected ? "succeeded, but was to fail" : "failed") << "\n    "
              << standin::withoutPassword(wrong->text) << '\n';
    return failed;
}

}  // namespace

void addRun(CLI::App& app, Tool& tool) {
    CLI::App* command =
        app.add_subcommand("run", "the calls of a script, which share their clients");
    command->footer("How scripts are written: nimbhost help scripts");
    const auto name = std::make_shared<std::string>();
    command->add_option("SCRIPT", *name, "a file, or - for the standard input")->required();
    tool.onChosen(command, [name, &tool] { return runScript(tool, *name); });
}

}  // namespace nimb::nimbhost
