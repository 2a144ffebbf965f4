// nimbhost: tries the library without the database. See help_text.cpp for what it can do.

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "nimbhost/command_line.h"
#include "nimbhost/default_library.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/script_runner.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {

namespace {

enum ExitStatus { asExpected = 0, callFailed = 1, wrongInput = 2, notLoaded = 3 };

std::string libraryPath(const CommandLine& line) {
    if (!line.library.empty()) {
        return line.library;
    }
    const char* fromEnvironment = std::getenv("NIMBOPCUA_LIBRARY");
    return fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment
                                                                  : defaultLibrary();
}

/// Parses one value given on the command line; `place` names it in errors.
VeltoList typedValue(const std::string& place, const std::string& text,
                     const Variables& variables) try {
    return parseValue(text, 0, variables);
} catch (const SyntaxError& error) {
    throw InputError(place, text, error.position(), error.what());
}

Variables definedVariables(const CommandLine& line) {
    Variables variables;
    for (const auto& [name, text] : line.definitions) {
        variables.set(name, typedValue("--define " + name, text, variables));
    }
    return variables;
}

std::string readScript(const std::string& name) {
    std::ifstream file;
    if (name != "-") {
        file.open(name, std::ios::binary);
        if (!file) throw UsageError("cannot read the script " + name);
    }
    std::istream& in = name == "-" ? std::cin : file;
    std::string script{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) throw UsageError("cannot read the script " + name);
    return script;
}

int callOne(const CommandLine& line, Session& session, ScriptRunner& runner) {
    const std::string& entry = line.operands[0];
    if (session.library().find(entry) == nullptr) {
        throw UsageError("unknown entry \"" + entry + '"' +
                         suggestion(entry, session.entryNames()));
    }
    VeltoList arguments;
    for (std::size_t i = 1; i < line.operands.size(); ++i) {
        arguments.appendList(
            typedValue("value " + std::to_string(i), line.operands[i], session.variables()));
    }
    return runner.call(entry, arguments, false) ? asExpected : callFailed;
}

int runScript(const CommandLine& line, Session& session, ScriptRunner& runner) {
    const std::string& name = line.operands[0];
    const std::vector<Statement> script =
        parseScript(name == "-" ? "standard input" : name, readScript(name), session.variables(),
                    session.entryNames());
    const Statement* failed = runner.run(script);
    if (failed == nullptr) {
        return asExpected;
    }
    std::cerr << "nimbhost: " << failed->place << ": this call "
              << (failed->failureExpected ? "succeeded, but was to fail" : "failed") << "\n    "
              << failed->text << '\n';
    return callFailed;
}

int carryOut(const CommandLine& line) {
    if (line.help || (line.command == "help" && line.operands.empty())) {
        std::cout << helpText();
        return asExpected;
    }
    if (line.command == "list" || line.command == "help") {
        std::cout << (line.command == "list" ? entryList() : entryHelp(line.operands[0]));
        return asExpected;
    }
    host::Library library(libraryPath(line));
    Session session(library, definedVariables(line));
    Report report(std::cout, library, line.report);
    ScriptRunner runner(session, report);
    return line.command == "call" ? callOne(line, session, runner)
                                  : runScript(line, session, runner);
}

int complain(const std::exception& error, ExitStatus status, const char* advice = "") {
    std::cout << std::flush;
    std::cerr << "nimbhost: " << error.what() << '\n' << advice;
    return status;
}

}  // namespace

}  // namespace nimb::standin

int main(int count, char** words) {
    using namespace nimb;
    using namespace nimb::standin;
    try {
        return carryOut(parseCommandLine({words + 1, words + count}));
    } catch (const UsageError& error) {
        return complain(error, wrongInput, "Try \"nimbhost --help\".\n");
    } catch (const host::LoadError& error) {
        return complain(error, notLoaded, "Choose another library with --library PATH.\n");
    } catch (const InputError& error) {
        return complain(error, wrongInput);
    } catch (const host::CallError& error) {
        return complain(error, callFailed);
    } catch (const std::exception& error) {
        return complain(error, callFailed);
    }
}
