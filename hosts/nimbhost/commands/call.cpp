// nimbhost call: one call of an entry.

#include "nimbhost/commands/script_player.h"
#include "nimbhost/entry_table.h"

namespace nimb::nimbhost {

namespace {

int callOne(Tool& tool) {
    if (tool.extras.empty()) {
        throw BadInput("call needs the name of an entry; \"nimbhost list\" shows them");
    }
    ScriptPlayer script(tool);
    standin::ScriptContext& context = script.context();
    const std::string& entry = tool.extras[0];
    if (context.library().find(entry) == nullptr) {
        throw BadInput("unknown entry \"" + entry + '"' +
                       standin::suggestion(entry, context.entryNames()));
    }
    VeltoList arguments;
    constexpr std::size_t passwordAt = 4;
    for (std::size_t i = 1; i < tool.extras.size(); ++i) {
        const std::string value(withoutGuard(tool.extras[i]));
        const bool secret = entry == "zfConnectUser" && i == passwordAt;
        arguments.appendList(
            typedValue("value " + std::to_string(i), value, context.variables(), secret));
    }
    return script.runner().call(entry, arguments, false) ? allWell : failed;
}

}  // namespace

/// The values are what the parser leaves over: it would take a list in brackets apart.
void addCall(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("call", "one call: call ENTRY [VALUE...]");
    command->footer("How values are typed: nimbhost help values");
    tool.onChosen(command, [&tool] { return callOne(tool); });
}

}  // namespace nimb::nimbhost
