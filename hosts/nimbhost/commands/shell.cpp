// nimbhost shell: the script language, answered line by line.

#include <editline/readline.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "nimbhost/commands/script_player.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

constexpr const char* kWords[] = {"echo", "exit", "help", "repeat", "set", "wait"};

/// The words that can stand where the cursor is, for the completion; it calls back without a
/// context of ours.
char* nextWord(const char* begun, int again) {
    static std::vector<std::string> found;
    if (again == 0) {
        found.clear();
        const std::string_view start(begun);
        for (const auto& entry : standin::entryTable()) {
            if (std::string_view(entry.name).starts_with(start)) found.emplace_back(entry.name);
        }
        for (const char* word : kWords) {
            if (std::string_view(word).starts_with(start)) found.emplace_back(word);
        }
        std::reverse(found.begin(), found.end());
    }
    if (found.empty()) return nullptr;
    char* word = ::strdup(found.back().c_str());  // the line editor releases it
    found.pop_back();
    return word;
}

/// Shows the arguments of the entry that the line begins with. Whether there is one.
bool showsHint(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of("! "), line.size()));
    const standin::EntryHelp* help = standin::findHelp(line.substr(0, line.find(' ')));
    if (help == nullptr) return false;
    std::cout << "\n" << help->name;
    for (std::size_t i = 0; i < standin::fieldCount(help->arguments); ++i) {
        std::cout << (i == 0 ? " " : ", ") << standin::fieldName(help->arguments, i);
    }
    std::cout << std::endl;
    return true;
}

/// An entry or a command at the line's begin; between arguments, which of them there are; else a
/// file's name, as the line editor does by itself.
char** complete(const char* begun, int start, int /*end*/) {
    if (start == 0) return rl_completion_matches(begun, nextWord);
    if (*begun == '\0' && showsHint(rl_line_buffer)) {
        rl_attempted_completion_over = 1;
        rl_forced_update_display();
    }
    return nullptr;
}

std::filesystem::path historyFile() {
    const char* home = std::getenv("HOME");
    return home == nullptr ? std::filesystem::path()
                           : std::filesystem::path(home) / ".nimbhost_history";
}

/// Whether a line may go into the history: not if it logs in, or gives a variable a password.
bool isKept(std::string_view line) {
    return !line.empty() && line.find("zfConnectUser") == std::string_view::npos &&
           line.find("password") == std::string_view::npos;
}

/// Lines from a terminal with editing, history and completion, or plainly from anything else.
class LineSource {
  public:
    LineSource() {
        if (!edits_) return;
        rl_readline_name = const_cast<char*>("nimbhost");
        rl_attempted_completion_function = complete;
        using_history();
        stifle_history(1000);
        if (!historyFile().empty()) read_history(historyFile().c_str());
    }
    ~LineSource() {
        if (edits_ && !historyFile().empty()) write_history(historyFile().c_str());
    }
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;

    bool edits() const noexcept { return edits_; }

    std::optional<std::string> next(const std::string& prompt) {
        if (!edits_) {
            std::string line;
            std::cin.exceptions(std::ios::goodbit);
            return std::getline(std::cin, line) ? std::optional(line) : std::nullopt;
        }
        const std::unique_ptr<char, decltype(&std::free)> line(readline(prompt.c_str()),
                                                               &std::free);
        if (!line) return std::nullopt;
        if (isKept(line.get())) add_history(line.get());
        return line.get();
    }

  private:
    bool edits_ = isTerminal(0) && isTerminal(1);
};

/// The state of $handle, as the prompt shows it.
std::string stateOf(standin::ScriptContext& context) {
    const VeltoList* handle = context.variables().find("handle");
    if (handle == nullptr || handle->empty()) return "no client";
    try {
        const auto bytes = context.library().call("zfGetClientStateD", *handle);
        const VeltoROList state(bytes ? bytes->data() : nullptr, bytes ? bytes->size() : 0);
        if (state.at(0).AsLong() != 0)
            return state.at(2).AsLong() == 7 ? "not set up" : "no client";
        if (state.at(5).AsLong() != 0) return "set up again";
        return state.at(2).AsLong() != 0 ? "connected" : "not connected";
    } catch (const std::exception&) {
        return "?";
    }
}

std::string withoutBlanks(const std::string& line) {
    constexpr const char* blanks = " \t\r";
    const std::size_t first = std::min(line.find_first_not_of(blanks), line.size());
    return line.substr(first, line.find_last_not_of(blanks) + 1 - first);
}

bool opensBlock(const std::string& line) {
    return line.starts_with("repeat") && line.ends_with('{');
}

/// A line, or a repeated block down to its closing brace.
std::optional<std::string> readStatement(LineSource& lines, const std::string& prompt) {
    std::optional<std::string> text = lines.next(prompt);
    if (text) text = withoutBlanks(*text);
    if (!text || !opensBlock(*text)) return text;
    for (int depth = 1; depth > 0;) {
        const std::optional<std::string> line = lines.next("... ");
        if (!line) break;
        depth += opensBlock(withoutBlanks(*line)) ? 1 : 0;
        depth -= withoutBlanks(*line).starts_with('}') ? 1 : 0;
        *text += '\n' + *line;
    }
    return text;
}

void answer(ScriptPlayer& script, const std::string& text) try {
    if (text == "help" || text.starts_with("help ")) {
        helpTopic(text.size() > 5 ? text.substr(5) : "scripts");
        return;
    }
    standin::ScriptContext& context = script.context();
    const auto statements =
        standin::parseScript("shell", text, context.variables(), context.entryNames());
    if (script.runner().run(statements) != nullptr) {
        std::cerr << "nimbhost: the call did not end as expected\n";
    }
} catch (const standin::InputError& error) {
    std::cerr << error.what() << '\n';
} catch (const BadInput& error) {
    std::cerr << "nimbhost: " << error.what() << '\n';
} catch (const host::CallError& error) {
    std::cerr << "nimbhost: " << error.what() << '\n';
}

/// Ctrl-C at a terminal ends what is under way, not the shell.
bool goesOn(const LineSource& lines) {
    if (pendingSignal() != SIGINT || !lines.edits()) return false;
    forgetSignal();
    std::cout << '\n';
    return true;
}

int shell(Tool& tool) {
    ScriptPlayer script(tool);
    LineSource lines;
    if (lines.edits()) {
        std::cout << "Entries and script lines; Tab completes and tells arguments, help ENTRY "
                     "tells more, exit ends.\n";
    }
    for (;;) {
        const auto text =
            readStatement(lines, lines.edits() ? "[" + stateOf(script.context()) + "]> " : "");
        if (goesOn(lines)) continue;
        checkInterrupted();
        if (!text || *text == "exit" || *text == "quit") return allWell;
        try {
            answer(script, *text);
            checkInterrupted();
        } catch (const Interrupted&) {
            if (!goesOn(lines)) throw;
        }
    }
}

}  // namespace

void addShell(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("shell", "the script language, answered line by line");
    tool.onChosen(command, [&tool] { return shell(tool); });
}

}  // namespace nimb::nimbhost
