// nimbhost list and nimbhost help: the entries, and how values and scripts are written.

#include <iostream>

#include "nimbhost/commands/tool.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

constexpr const char* kValues = R"(Values
  42  -7  0x1F         integers of 64 bits
  12.34  -5e-3         decimal numbers, kept exactly
  f:0.1  f32:0.1       floating point, double and single
  "text"               8-bit text, UTF-8 as typed; \" \\ \n \r \t, and \xHH for a byte
  u"text"              16-bit text; the same escapes, and \uHHHH for a unit
  x:00ff               bytes
  null                 the undefined item
  [1, "two", [3]]      a nested list
  $handle  $result[4]  a variable; an item, counted from 0, of the list in it
  Tank1.Level          text without quotes: letters, digits and _.:/%@+-=~, not a digit first
Before the shell sees quotes and $, put single quotes around a value: '"text"' '$url'

  nimbhost call zfVersion
  nimbhost call zfGetStatusCodeNameB 2147942400
)";

constexpr const char* kScripts = R"(Scripts have one command per line; # begins a comment
  ENTRY VALUE, VALUE   a call; commas between values may be left out
  ! ENTRY ...          a call that must fail
  set NAME = VALUE     a variable
  echo TEXT            a heading
  wait MS              a pause in milliseconds
  repeat N {           repeat the lines down to the one that closes with }
Calls set $result to all that was answered (item 0 is the status), and $handle, $query and
$subscription when they create such a thing. A script is read whole before its first call, and
ends at the first call that does not end as expected; clients that it leaves are destroyed.

  nimbhost --define url=opc.tcp://plant:4840 run - <<'END'
      zfCreateClientB
      zfSetupClientC $handle, 3000, 1, "", "", "", "", "", 1
      zfConnectB $handle, $url
      zfReadAttribute $handle, 2258, 0, 0, 13
      zfDestroyClientB $handle
  END
)";

std::string allNames(std::string_view fields, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < standin::fieldCount(fields); ++i) {
        out += (i == 0 ? "" : std::string(separator)) + standin::fieldName(fields, i);
    }
    return out;
}

std::string shortNames(std::string_view fields) {
    std::string out;
    for (std::size_t i = 0; i < standin::fieldCount(fields); ++i) {
        const std::string field = standin::fieldName(fields, i);
        out +=
            (i == 0 ? " (" : ", ") + field.substr(0, std::min(field.find(" ["), field.find(" (")));
    }
    return out + (out.empty() ? "" : ")");
}

void listEntries() {
    Table table({{"ENTRY"}, {"ROW"}, {"WHAT", Column::wrapped}}, false);
    for (const standin::EntryHelp& entry : standin::entryTable()) {
        table.add({entry.name, entry.specification,
                   std::string(entry.summary) + shortNames(entry.arguments)});
    }
    std::cout << table.text(tableWidth());
}

void helpEntry(const standin::EntryHelp& help) {
    constexpr std::string_view separator = "\n  ";
    std::cout << help.name << ": " << help.summary << '\n';
    if (help.results == nullptr) return;
    const std::string arguments = allNames(help.arguments, separator);
    const std::string results = allNames(help.results, separator);
    std::cout << (arguments.empty() ? "Takes no arguments.\n" : "Arguments:\n  " + arguments + '\n')
              << (results.empty() ? "Answers nothing but the status.\n"
                                  : "Results:\n  " + results + '\n');
    if (std::string_view(help.results).ends_with("...")) {
        std::cout << "  and so on for each node\n";
    }
}

int help(const CLI::App& app, const std::string& topic) {
    if (topic.empty()) {
        std::cout << app.help();
        return allWell;
    }
    const auto commands = app.get_subcommands(
        [&topic](const CLI::App* command) { return command->get_name() == topic; });
    if (commands.empty()) {
        helpTopic(topic);
    } else {
        std::cout << commands[0]->help("nimbhost");
    }
    return allWell;
}

}  // namespace

void helpTopic(const std::string& topic) {
    if (topic == "values" || topic == "scripts") {
        std::cout << (topic == "values" ? kValues : kScripts);
    } else if (const standin::EntryHelp* entry = standin::findHelp(topic)) {
        helpEntry(*entry);
    } else {
        std::vector<std::string_view> names{"values", "scripts"};
        for (const standin::EntryHelp& each : standin::entryTable()) names.emplace_back(each.name);
        throw BadInput("unknown entry or command \"" + topic + '"' +
                       standin::suggestion(topic, names));
    }
}

void addList(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("list", "all entries with their arguments");
    tool.onChosen(command, [] {
        listEntries();
        return static_cast<int>(allWell);
    });
}

void addHelp(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("help", "an entry, a command, values, or scripts");
    const auto topic = std::make_shared<std::string>();
    command->add_option("TOPIC", *topic, "values, scripts, an entry, a command");
    tool.onChosen(command, [topic, &app] { return help(app, *topic); });
}

}  // namespace nimb::nimbhost
