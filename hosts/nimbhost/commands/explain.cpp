// nimbhost explain: what a status code, the text of a failure or a log file means.

#include <charconv>
#include <iostream>
#include <set>
#include <sstream>

#include "nimbhost/causes/causes.h"
#include "nimbhost/certificates/files.h"
#include "nimbhost/commands/tool.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

struct StatusCode {
    std::uint32_t code;
    std::string name;
};

std::string hex(std::uint32_t code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", code);
    return text;
}

/// The number in the text, decimal or 0x..., if it is nothing else.
std::optional<std::uint32_t> numberIn(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = text.substr(hexadecimal ? 2 : 0);
    std::uint32_t code = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, code, hexadecimal ? 16 : 10);
    return stop == end && error == std::errc{} && !digits.empty() ? std::optional(code)
                                                                  : std::nullopt;
}

/// The code of a name: the library is asked for the names of all codes that OPC UA has room for.
std::optional<StatusCode> statusOf(Tool& tool, const std::string& text) {
    if (const auto number = numberIn(text)) {
        return StatusCode{*number, tool.library().statusName(*number & 0xFFFF0000)};
    }
    const bool likeName = text.find_first_not_of(
                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                              "0123456789_") == std::string::npos;
    for (const std::uint32_t severity : {0x80000000U, 0x40000000U, 0U}) {
        for (std::uint32_t code = 0; likeName && code < 0x1000; ++code) {
            const std::uint32_t status = severity | code << 16;
            if (tool.library().statusName(status) == text) return StatusCode{status, text};
        }
    }
    return std::nullopt;
}

void showRows(const std::vector<const Cause*>& rows, bool json, const std::string& place) {
    std::set<std::pair<std::string, std::string>> said;  // tables share rows
    for (const Cause* row : rows) {
        const std::string cause = plain(row->cause);
        const std::string cure = plain(row->cure);
        if (!said.emplace(cause, cure).second) continue;
        if (json) {
            sayJson(Json{
                {"place", place}, {"where", nameOf(row->table)}, {"cause", cause}, {"cure", cure}});
            continue;
        }
        const std::string log = plain(row->log);
        say("  " + (cause.empty() ? "then" : cause));
        say("      -> " + cure);
        if (rows.size() > 1 && log.find(' ') != std::string::npos && !log.starts_with("the same")) {
            say("      the log then says: " + log);
        }
    }
}

const char* severityOf(std::uint32_t code) noexcept {
    return (code & 0x80000000U) != 0 ? "bad" : (code & 0x40000000U) != 0 ? "uncertain" : "good";
}

int explainStatus(const StatusCode& status, bool json) {
    const auto rows = causesOfText(status.name);
    if (json) {
        sayJson(Json{
            {"code", status.code}, {"name", status.name}, {"severity", severityOf(status.code)}});
    } else {
        say(hex(status.code) + " (" + std::to_string(status.code) + ") is " + status.name + ", " +
            severityOf(status.code));
    }
    showRows(rows, json, status.name);
    if (rows.empty() && !json) say("  no cause is on record for it; it is the server's own word");
    return allWell;
}

int explainLog(const std::string& file, bool json) {
    std::istringstream log(readWholeFile(file));
    std::string line;
    std::size_t found = 0;
    std::set<const Cause*> told;
    const Cause* before = nullptr;
    for (int number = 1; std::getline(log, line); ++number) {
        const Cause* row = causeOfLogLine(line);
        // Two lines on end with one status are one failure, and the first says more of it.
        const bool repeats = row != nullptr && before != nullptr &&
                             std::string_view(before->failure) == row->failure;
        before = row;
        if (row == nullptr || repeats || !told.insert(row).second) continue;
        ++found;
        const std::string place = file + ':' + std::to_string(number);
        if (!json) say(place + ": " + harmless(line));
        showRows({row}, json, place);
    }
    if (found == 0 && !json) say(file + ": no line tells of a known failure");
    return allWell;
}

int explain(Tool& tool, const std::string& text) {
    if (std::filesystem::exists(text)) return explainLog(text, tool.json);
    if (const auto status = statusOf(tool, text)) return explainStatus(*status, tool.json);
    const auto rows = causesOfText(text);
    if (rows.empty()) {
        throw BadInput(
            "nothing is known of \"" + text +
            "\"; explain takes a status (0x800A0000, BadTimeout), the text of a failure, "
            "or a log file");
    }
    showRows(rows, tool.json, text);
    return allWell;
}

}  // namespace

void addExplain(CLI::App& app, Tool& tool) {
    CLI::App* command =
        app.add_subcommand("explain", "what a status, a refusal or a log file means");
    const auto text = std::make_shared<std::vector<std::string>>();
    const auto table = std::make_shared<std::string>();
    command->add_option("CODE|TEXT|LOGFILE", *text,
                        "0x800A0000, BadTimeout, a failure's text, a file");
    command
        ->add_option("--manual", *table,
                     "print a table of the manual: set-up, connect, reach, fault")
        ->type_name("TABLE");
    tool.onChosen(command, [text, table, &tool]() -> int {
        if (!table->empty()) {
            try {
                std::cout << manualTable(*table);
            } catch (const std::out_of_range& error) {
                throw BadInput(error.what());
            }
            return allWell;
        }
        std::string all;
        for (const std::string& word : *text) all += (all.empty() ? "" : " ") + word;
        if (all.empty())
            throw BadInput("explain what? a status, the text of a failure, a log file");
        return explain(tool, all);
    });
}

}  // namespace nimb::nimbhost
