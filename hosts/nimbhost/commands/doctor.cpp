// nimbhost doctor: every step from the library to live values, with cause and cure.

#include <iostream>

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

std::string shown(Result result) {
    switch (result) {
        case Result::ok:
            return styled("ok", Style::good);
        case Result::warn:
            return styled("warn", Style::warning);
        case Result::fail:
            return styled("FAIL", Style::bad);
        default:
            return styled("-", Style::faint);
    }
}

void showFindings(const std::vector<Finding>& findings) {
    Table table({{"STEP"}, {"RESULT"}, {"WHAT", Column::wrapped}}, false);
    std::string step;
    for (const Finding& finding : findings) {
        table.add({finding.step == step ? "" : finding.step, shown(finding.result),
                   harmless(finding.text)});
        if (!finding.cure.empty()) table.add({"", "", "-> " + harmless(finding.cure)});
        step = finding.step;
    }
    std::cout << table.text(isTerminal(1) ? terminalWidth() : kNoWidth);
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
    const auto words = std::make_shared<std::vector<std::string>>();
    const auto expires = std::make_shared<int>(0);
    plant->addTo(*command);
    command->add_option("[URL] NODE", *words, "the server, unless given; nodes to read and follow");
    command->add_option("--expires", *expires, "fail when a certificate ends within so many days")
        ->check(CLI::Range(0, 36500))
        ->type_name("DAYS");
    command->callback([=, &tool] {
        tool.action = [=, &tool] {
            std::vector<std::string> nodes = *words;
            if (!nodes.empty() && nodes[0].find("://") != std::string::npos) {
                plant->setOperand(nodes[0]);
                nodes.erase(nodes.begin());
            }
            Examination examination(tool, plant->settings(), nodes, *expires);
            examination.examine();
            return conclude(examination, tool.json);
        };
    });
}

}  // namespace nimb::nimbhost
