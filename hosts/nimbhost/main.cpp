// nimbhost: what a host would do with the library, at the command line. The commands stand in
// commands/, one file each.

#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>

#include "nimbhost/commands/tool.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/script.h"
#include "nimbhost/terminal/interruption.h"

namespace nimb::nimbhost {

namespace {

constexpr const char* kFooter =
    R"(Values, scripts and entries: nimbhost help values, help scripts, help ENTRY.
Exit status: 0 all well, 1 a call or a check failed, 2 wrong command line, script or value, 3 the
library cannot be loaded, 4 nothing came within --within, 128 + signal after an interruption.)";

void addShared(CLI::App& app, Tool& tool) {
    app.add_option("--library", tool.libraryPath,
                   "the shared library; left out: $NIMBOPCUA_LIBRARY, or the one built along")
        ->type_name("PATH");
    app.add_flag("--json", tool.json, "one JSON object a line");
    app.add_flag("--show-calls", tool.showCalls,
                 "print the calls that a host has to make, on the standard error stream");
    app.add_flag("--hex", tool.hex, "call, run, setup: show bytes");
    app.add_flag("--raw", tool.raw,
                 "call, run: never take text for a nested list, which has the same encoding");
    app.add_option("--define", tool.definitions,
                   "call, run, shell: give $NAME a value, typed as an argument; may be repeated")
        ->type_name("NAME=VALUE")
        ->take_all()
        ->allow_extra_args(false);
}

void addCommands(CLI::App& app, Tool& tool) {
    for (const auto add :
         {addDoctor, addExplain, addCert, addTrust, addEndpoints, addLs, addRead, addWrite,
          addWatch, addFit, addSetup, addCheck, addShell, addCall, addRun, addList, addHelp}) {
        add(app, tool);
    }
}

/// What the parser could not place belongs to call; to other commands it is a mistake.
void checkExtras(const CLI::App& app, const Tool& tool) {
    if (app.get_subcommands().empty()) {
        if (tool.extras.empty()) throw BadInput("a command is missing; nimbhost --help lists them");
        std::vector<std::string> names;
        for (const CLI::App* each : app.get_subcommands({})) names.push_back(each->get_name());
        const std::string& typed = tool.extras[0];
        throw BadInput("unknown command \"" + typed + '"' +
                       standin::suggestion(typed, {names.begin(), names.end()}));
    }
    for (const std::string& extra : tool.extras) {
        if (extra.starts_with('-')) throw BadInput("unknown option " + extra);
        if (!app.got_subcommand("call")) throw BadInput("nothing may follow here: " + extra);
    }
}

int carryOut(std::vector<std::string> words) {
    Tool tool;
    CLI::App app("Tries OPC UA servers and the library as a database host uses it.", "nimbhost");
    app.set_version_flag("--version", "nimbhost " NIMB_VERSION);
    app.set_help_all_flag("--help-all", "the options of all commands");
    app.footer(kFooter);
    app.fallthrough();
    app.allow_extras();
    app.require_subcommand(0, 1);
    addShared(app, tool);
    addCommands(app, tool);
    for (std::string& word : words) word = guarded(word);
    std::reverse(words.begin(), words.end());  // the parser takes them from the end
    try {
        app.parse(std::move(words));
    } catch (const CLI::Success& asked) {  // --help, --version
        const int status = app.exit(asked, std::cout, std::cerr);
        std::cout << std::flush;
        return status;
    } catch (const CLI::ParseError& error) {
        throw BadInput(error.what());
    }
    tool.extras = app.remaining(true);
    checkExtras(app, tool);
    const int status = tool.action();
    std::cout << std::flush;
    return status;
}

int complain(std::string_view text, int status) {
    // Results that were written stay; what could not be written is given up.
    std::cout.exceptions(std::ios::goodbit);
    std::cout << std::flush;
    std::cerr << "nimbhost: " << text << '\n';
    return status;
}

/// The exit status of the exception under way.
int statusOfFailure() {
    try {
        throw;
    } catch (const Interrupted& interruption) {
        return signalled + interruption.signal();
    } catch (const std::ios_base::failure&) {
        if (pendingSignal() != 0) return signalled + pendingSignal();
        // Destructors on the way here had their own errno; what ends the broken line tells the
        // reason.
        const bool reason = ::write(STDOUT_FILENO, "\n", 1) < 0;
        return complain(std::string("cannot write the results") +
                            (reason ? std::string(": ") + std::strerror(errno) : ""),
                        failed);
    } catch (const BadInput& error) {
        return complain(error.what(), wrongInput);
    } catch (const standin::InputError& error) {
        return complain(error.what(), wrongInput);
    } catch (const host::LoadError& error) {
        return complain(std::string(error.what()) + "; choose another with --library PATH",
                        notLoaded);
    } catch (const std::exception& error) {
        return complain(error.what(), failed);
    }
}

}  // namespace

}  // namespace nimb::nimbhost

int main(int count, char** words) {
    using namespace nimb::nimbhost;
    // How wide letters are is a matter of the locale; all text here is UTF-8.
    if (std::setlocale(LC_CTYPE, "") == nullptr ||
        std::string_view(::nl_langinfo(CODESET)) != "UTF-8") {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    catchSignals();
    std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    try {
        return carryOut({words + 1, words + count});
    } catch (...) {
        return statusOfFailure();
    }
}
