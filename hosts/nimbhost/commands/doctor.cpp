// nimbhost doctor: every step from the library to live values, with cause and cure.

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string_view>

#include "nimbhost/doctor/examination.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

using Result = Finding::Result;

const char* jsonName(Result result) noexcept {
    static constexpr const char* names[] = {"ok", "warn", "fail", "skipped"};
    return names[static_cast<int>(result)];
}

struct Word {
    std::string_view text;
    Style style;
};
/// By result.
constexpr Word words[] = {
    {"ok", Style::good}, {"warn", Style::warning}, {"FAIL", Style::bad}, {"-", Style::faint}};

/// The table shows control characters as text, so colours come behind it.
std::string withColours(const std::string& text, std::size_t resultAt) {
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        for (const Word& word : words) {
            const std::string cell = std::string(word.text) + ' ';
            if (line.size() > resultAt && line.compare(resultAt, cell.size(), cell) == 0) {
                line.replace(resultAt, word.text.size(), styled(word.text, word.style));
                break;
            }
        }
        out += line + '\n';
    }
    return out;
}

void showFindings(const std::vector<Finding>& findings) {
    constexpr std::size_t separator = 2;
    Table table({{"STEP"}, {"RESULT"}, {"WHAT", Column::wrapped}}, false);
    std::string step;
    std::size_t longest = 0;
    for (const Finding& finding : findings) {
        table.add({finding.step == step ? "" : finding.step,
                   std::string(words[static_cast<int>(finding.result)].text),
                   harmless(finding.text)});
        if (!finding.cure.empty()) table.add({"", "", "-> " + harmless(finding.cure)});
        step = finding.step;
        longest = std::max(longest, step.size());
    }
    std::cout << withColours(table.text(tableWidth()), longest + separator);
}

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

int conclude(const Examination& examination, bool json) {
    const std::size_t problems = examination.count(Result::fail);
    const std::size_t warnings = examination.count(Result::warn);
    if (json) {
        for (const Finding& finding : examination.findings()) {
            sayJson(Json{{"step", finding.step},
                         {"result", jsonName(finding.result)},
                         {"text", finding.text},
                         {"cure", finding.cure}});
        }
        sayJson(Json{{"ready", problems == 0}});
        return problems == 0 ? allWell : failed;
    }
    showFindings(examination.findings());
    std::string first;
    for (const Finding& finding : examination.findings()) {
        if (first.empty() && finding.result == Result::fail) first = finding.cure;
    }
    if (problems == 0) {
        say("Ready" + (warnings == 0 ? "" : ", with " + counted(warnings, "warning")));
        return allWell;
    }
    say(counted(problems, "problem") + ", " + counted(warnings, "warning") + ". First: " + first);
    return failed;
}

}  // namespace

void addDoctor(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand(
        "doctor", "every step from the library to live values, with cause and cure");
    const auto plant = std::make_shared<PlantOptions>();
    const auto operands = std::make_shared<std::vector<std::string>>();
    const auto expires = std::make_shared<int>(0);
    plant->addTo(*command);
    command->add_option("NODE", *operands,
                        "nodes to read and follow; the server's URL may stand before them");
    command->add_option("--expires", *expires, "fail when a certificate ends within so many days")
        ->check(CLI::Range(0, 36500))
        ->type_name("DAYS");
    tool.onChosen(command, [=, &tool] {
        std::vector<std::string> nodes = *operands;
        if (!nodes.empty() && nodes[0].find("://") != std::string::npos) {
            plant->setOperand(nodes[0]);
            nodes.erase(nodes.begin());
        }
        Examination examination(tool, plant->settings(), nodes, *expires);
        examination.examine();
        return conclude(examination, tool.json);
    });
}

}  // namespace nimb::nimbhost
