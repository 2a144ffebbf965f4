// nimbhost write: one value, checked against what the node takes before it is sent.

#include "base/write.h"

#include <charconv>

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/plant/sample.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

template <typename Number>
std::optional<Number> whole(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

/// The value as the node's type wants it: a text stays a text even when it is made of digits.
host::Value valueFor(const host::NodeInfo& info, std::string_view text) {
    if (info.type == host::Type::string) return std::string(text);
    if (const auto integer = whole<std::int64_t>(text)) return *integer;
    if (const auto large = whole<std::uint64_t>(text)) return *large;
    if (const auto real = whole<double>(text)) return *real;
    return std::string(text);  // refused, with the node's type named
}

int writeNode(Tool& tool, const PlantSettings& settings, const std::string& typed,
              std::string_view text, bool dryRun) {
    host::Connection connection(tool.library(), plantOf(settings));
    try {
        const Progress progress(waitText("writing to " + settings.url, settings.timeout));
        const NamedNode node = resolveNodes(connection, {typed}, settings.defaultNamespace).front();
        const host::NodeInfo info =
            host::NodeCatalogue(connection).describe(std::vector{node.id}).front();
        try {
            const host::Write write(node.id, info, valueFor(info, text));
            if (!dryRun) write.send(connection);
        } catch (const host::Refusal& refusal) {
            const char* type = host::nameOf(info.type);
            throw BadInput(typed + ": \"" + std::string(text) +
                           "\" is not written: " + refusal.what() +
                           (*type == '\0' ? "" : std::string("; the node's type is ") + type));
        }
        if (tool.json) {
            sayJson(Json{{"node", host::notation(node.id)},
                         {"name", typed},
                         {"value", text},
                         {"type", host::nameOf(info.type)},
                         {"written", !dryRun}});
        } else {
            say(typed + (dryRun ? " would be written: " : " written: ") + std::string(text) + ", " +
                host::nameOf(info.type));
        }
        return allWell;
    } catch (const host::Failure& failure) {
        const char* doubt = failure.inDoubt() ? "; the value may have been written: read it" : "";
        throw std::runtime_error(explained(failure, settings) + doubt);
    }
}

}  // namespace

void addWrite(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("write", "one value; its type and range are checked");
    const auto plant = std::make_shared<PlantOptions>();
    const auto node = std::make_shared<std::string>();
    const auto value = std::make_shared<std::string>();
    const auto dryRun = std::make_shared<bool>(false);
    plant->addTo(*command);
    command->add_option("NODE", *node, "as for read")->required();
    command->add_option("VALUE", *value, "a number, or the text of a String")->required();
    command->add_flag("--dry-run", *dryRun, "check everything and write nothing");
    tool.onChosen(command, [=, &tool] {
        return writeNode(tool, plant->settings(), *node, withoutGuard(*value), *dryRun);
    });
}

}  // namespace nimb::nimbhost
