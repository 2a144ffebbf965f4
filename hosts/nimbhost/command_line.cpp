#include "nimbhost/command_line.h"

#include <algorithm>

#include "nimbhost/entry_table.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {

namespace {

void addDefinition(CommandLine& line, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || !isName(std::string_view(text).substr(0, equals))) {
        throw UsageError("--define takes NAME=VALUE, not \"" + text + '"');
    }
    line.definitions.emplace_back(text.substr(0, equals), text.substr(equals + 1));
}

void setForm(CommandLine& line, ReportOptions::Form form) {
    if (line.report.form != ReportOptions::Form::text && line.report.form != form) {
        throw UsageError("--json and --hex exclude each other");
    }
    line.report.form = form;
}

/// Reads the option at `i`; its value is the argument behind it.
void readOption(CommandLine& line, const std::vector<std::string>& arguments, std::size_t& i) {
    const std::string& option = arguments[i];
    const auto value = [&]() -> const std::string& {
        if (i + 1 == arguments.size()) throw UsageError(option + " needs a value");
        return arguments[++i];
    };
    if (option == "--help" || option == "-h") {
        line.help = true;
    } else if (option == "--library") {
        line.library = value();
    } else if (option == "--define") {
        addDefinition(line, value());
    } else if (option == "--json") {
        setForm(line, ReportOptions::Form::json);
    } else if (option == "--hex") {
        setForm(line, ReportOptions::Form::hex);
    } else if (option == "--raw") {
        line.report.nesting = Nesting::raw;
    } else {
        throw UsageError("unknown option " + option);
    }
}

void checkOperands(const CommandLine& line) {
    const std::size_t count = line.operands.size();
    for (const std::string& operand : line.operands) {
        if (operand.starts_with("--")) {
            throw UsageError("options stand before the command: " + operand);
        }
    }
    if (line.command == "call" && count == 0) {
        throw UsageError("call needs the name of an entry; \"nimbhost list\" shows them");
    }
    if (line.command == "run" && count != 1) {
        throw UsageError("run takes one script; - is the standard input");
    }
    if (line.command == "help" && count > 1) {
        throw UsageError("help takes the name of one entry");
    }
    if (line.command == "list" && count != 0) {
        throw UsageError("list takes nothing behind it");
    }
}

std::string allNames(std::string_view fields, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < fieldCount(fields); ++i) {
        const std::string name = fieldName(fields, i);
        out += (i == 0 ? "" : std::string(separator)) + name;
    }
    return out;
}

std::vector<std::string_view> helpNames() {
    std::vector<std::string_view> names;
    for (const EntryHelp& entry : entryTable()) names.emplace_back(entry.name);
    return names;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine line;
    std::size_t i = 0;
    for (; i < arguments.size() && arguments[i].starts_with('-'); ++i) {
        readOption(line, arguments, i);
    }
    if (line.help) {
        return line;
    }
    if (i == arguments.size()) {
        throw UsageError("a command is missing");
    }
    line.command = arguments[i];
    line.operands.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
    const std::vector<std::string_view> commands{"call", "run", "list", "help"};
    if (std::find(commands.begin(), commands.end(), line.command) == commands.end()) {
        throw UsageError("unknown command \"" + line.command + '"' +
                         suggestion(line.command, commands));
    }
    checkOperands(line);
    return line;
}

std::string entryList() {
    constexpr std::size_t nameWidth = 28;
    constexpr std::size_t specificationWidth = 5;
    std::string out;
    for (const EntryHelp& entry : entryTable()) {
        std::string name = entry.name;
        std::string specification = entry.specification;
        name.resize(nameWidth, ' ');
        specification.resize(specificationWidth, ' ');
        std::string arguments;
        for (std::size_t i = 0; i < fieldCount(entry.arguments); ++i) {
            const std::string field = fieldName(entry.arguments, i);
            const std::string shortField =
                field.substr(0, std::min(field.find(" ["), field.find(" (")));
            arguments += (i == 0 ? " (" : ", ") + shortField;
        }
        arguments += arguments.empty() ? "\n" : ")\n";
        out.append(name).append(specification).append(entry.summary).append(arguments);
    }
    return out;
}

std::string entryHelp(std::string_view entry) {
    const EntryHelp* help = findHelp(entry);
    if (help == nullptr) {
        throw UsageError("unknown entry \"" + std::string(entry) + '"' +
                         suggestion(entry, helpNames()));
    }
    std::string out = std::string(help->name) + ": " + help->summary + '\n';
    if (help->results == nullptr) {
        return out;
    }
    constexpr std::string_view separator = "\n  ";
    const std::string arguments = allNames(help->arguments, separator);
    const std::string results = allNames(help->results, separator);
    out += arguments.empty() ? "Takes no arguments.\n" : "Arguments:\n  " + arguments + '\n';
    out += results.empty() ? "Answers nothing but the status.\n" : "Results:\n  " + results + '\n';
    if (std::string_view(help->results).ends_with("...")) {
        out += "  and so on for each node\n";
    }
    return out;
}

}  // namespace nimb::standin
