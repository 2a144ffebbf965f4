// nimbhost ls: the address tree.

#include <iostream>
#include <set>

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/plant/sample.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

struct Entry {
    std::string node, name;
    std::optional<host::NodeId> id;  ///< none for identifiers that the entries cannot be given
    host::NodeInfo info;
    int depth;
    long parent;  ///< its place in the list; -1: none
    Sample sample;
};

class Tree {
  public:
    Tree(host::Connection& connection, int depth, Progress& progress)
        : connection_(connection), catalogue_(connection), depth_(depth), progress_(progress) {}

    std::vector<Entry> below(const host::NodeId& node) {
        walk(node, 1, -1);
        return std::move(entries_);
    }
    /// What could not be listed, in a sentence each.
    const std::vector<std::string>& gaps() const noexcept { return gaps_; }

  private:
    void walk(const host::NodeId& node, int depth, long parent);
    std::vector<Entry> entriesOf(const host::NodeId& node, int depth, long parent);

    host::Connection& connection_;
    host::NodeCatalogue catalogue_;
    int depth_;
    Progress& progress_;
    std::vector<Entry> entries_;
    std::vector<std::string> gaps_;
    std::set<host::NodeId> visited_;
};

std::vector<Entry> Tree::entriesOf(const host::NodeId& node, int depth, long parent) {
    std::vector<Entry> out;
    std::vector<host::NodeId> ids;
    for (const host::Reference& child : childrenOf(connection_, node)) {
        Entry entry{child.node, child.name, std::nullopt, {}, depth, parent, {}};
        try {
            entry.id = host::parseNode(child.node);
            ids.push_back(*entry.id);
        } catch (const host::BadNode&) {  // listed, with no more to say of it
        }
        out.push_back(std::move(entry));
    }
    const auto infos = catalogue_.describe(ids);
    std::size_t known = 0;
    for (Entry& entry : out) {
        if (entry.id) entry.info = infos[known++];
    }
    return out;
}

void Tree::walk(const host::NodeId& node, int depth, long parent) {
    checkInterrupted();
    if (depth > depth_ || !visited_.insert(node).second) return;
    progress_.say(std::to_string(entries_.size()) + " nodes so far, now below " +
                  host::notation(node) + " ...");
    std::vector<Entry> children;
    try {
        children = entriesOf(node, depth, parent);
    } catch (const host::TooLong& error) {
        gaps_.emplace_back(error.what());
    }
    for (Entry& entry : children) {
        const auto id = entry.id;
        const bool method = entry.info.nodeClass == 4;
        entries_.push_back(std::move(entry));
        if (id && !method) walk(*id, depth + 1, static_cast<long>(entries_.size()) - 1);
    }
}

void readValues(host::Connection& connection, std::vector<Entry>& entries) {
    std::vector<host::NodeId> ids;
    std::vector<host::NodeInfo> infos;
    std::vector<Entry*> variables;
    for (Entry& entry : entries) {
        if (entry.info.nodeClass != 2) continue;
        ids.push_back(*entry.id);
        infos.push_back(entry.info);
        variables.push_back(&entry);
    }
    if (ids.empty()) return;
    const std::vector<Sample> samples = readSamples(connection, ids, infos);
    for (std::size_t i = 0; i < ids.size(); ++i) variables[i]->sample = samples[i];
}

Json jsonOf(const Entry& entry, bool values) {
    Json out{{"node", entry.node},
             {"name", entry.name},
             {"class", host::classNameOf(entry.info.nodeClass)},
             {"type", host::nameOf(entry.info.type)},
             {"depth", entry.depth}};
    if (values && entry.info.nodeClass == 2) {
        out["value"] = Json::parse(host::json(entry.sample.value), nullptr, false);
    }
    return out;
}

void showTree(const std::vector<Entry>& entries, bool values, host::Library& library) {
    std::vector<Heading> headings{{"NAME", Column::tree}, {"NODE"}, {"CLASS"}, {"TYPE"}};
    if (values) headings.insert(headings.end(), {{"VALUE", Column::cut}, {"STATUS"}});
    Table table(headings);
    for (const Entry& entry : entries) {
        std::vector<std::string> cells{harmless(entry.name), harmless(entry.node),
                                       host::classNameOf(entry.info.nodeClass),
                                       host::nameOf(entry.info.type)};
        if (values) {
            const bool variable = entry.info.nodeClass == 2;
            cells.push_back(variable ? valueText(entry.sample) : "");
            cells.push_back(variable ? statusText(library, entry.sample) : "");
        }
        table.add(std::move(cells), entry.parent);
    }
    std::cout << table.text(tableWidth());
}

int list(Tool& tool, const PlantSettings& settings, const std::string& typed, int depth,
         bool values) {
    host::Connection connection(tool.library(), plantOf(settings));
    std::vector<Entry> entries;
    std::vector<std::string> gaps;
    try {
        Progress progress(waitText("connecting to " + settings.url, settings.timeout));
        const NamedNode node = resolveNodes(connection, {typed}, settings.defaultNamespace).front();
        Tree tree(connection, depth, progress);
        entries = tree.below(node.id);
        gaps = tree.gaps();
        if (values) readValues(connection, entries);
    } catch (const host::Failure& failure) {
        throw std::runtime_error(explained(failure, settings));
    }
    if (tool.json) {
        for (const Entry& entry : entries) sayJson(jsonOf(entry, values));
    } else {
        showTree(entries, values, tool.library());
    }
    for (const std::string& gap : gaps) std::cerr << "nimbhost: " << gap << '\n';
    return gaps.empty() ? allWell : failed;
}

}  // namespace

void addLs(CLI::App& app, Tool& tool) {
    CLI::App* command = app.add_subcommand("ls", "the address tree below a node");
    const auto plant = std::make_shared<PlantOptions>();
    const auto node = std::make_shared<std::string>("/Objects");
    const auto depth = std::make_shared<int>(1);
    const auto values = std::make_shared<bool>(false);
    plant->addTo(*command);
    command->add_option("NODE", *node, "as for read; /Objects unless given");
    command->add_option("--depth", *depth, "levels (1)")->check(CLI::Range(1, 100))->type_name("N");
    command->add_flag("--values", *values, "the variables' values as well");
    tool.onChosen(command,
                  [=, &tool] { return list(tool, plant->settings(), *node, *depth, *values); });
}

}  // namespace nimb::nimbhost
