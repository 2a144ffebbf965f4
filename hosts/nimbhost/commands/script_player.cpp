#include "nimbhost/commands/script_player.h"

#include <iostream>

#include "nimbhost/password_mask.h"
#include "nimbhost/value_parser.h"

namespace nimb::nimbhost {

namespace {

standin::Variables definedVariables(const Tool& tool) {
    standin::Variables variables;
    for (const std::string& text : tool.definitions) {
        const std::size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        if (equals == std::string::npos || !standin::isName(name)) {
            throw BadInput("--define takes NAME=VALUE, not \"" + name + '"');
        }
        const bool secret = name.find("password") != std::string::npos;
        variables.set(name,
                      typedValue("--define " + name, text.substr(equals + 1), variables, secret));
    }
    return variables;
}

standin::ReportOptions reportOptions(const Tool& tool) {
    using Form = standin::ReportOptions::Form;
    if (tool.json && tool.hex) throw BadInput("--json and --hex exclude each other");
    standin::ReportOptions options;
    options.form = tool.json ? Form::json : tool.hex ? Form::hex : Form::text;
    options.nesting = tool.raw ? standin::Nesting::raw : standin::Nesting::guess;
    return options;
}

}  // namespace

VeltoList typedValue(const std::string& place, const std::string& text,
                     const standin::Variables& variables, bool secret) try {
    return standin::parseValue(text, 0, variables);
} catch (const standin::SyntaxError& error) {
    if (secret) throw BadInput(place + ' ' + standin::kUnreadablePassword);
    throw standin::InputError(place, text, error.position(), error.what());
}

ScriptPlayer::ScriptPlayer(Tool& tool)
    : context_(tool.library(), definedVariables(tool)),
      report_(std::cout, tool.library(), reportOptions(tool)),
      runner_(context_, report_) {}

}  // namespace nimb::nimbhost
