#include "nimbhost/script_context.h"

#include "nimbhost/entry_table.h"

namespace nimb::standin {

namespace {

VeltoList integerResult(host::Library& library, std::string_view entry,
                        const VeltoList& arguments) {
    if (!arguments.empty()) {
        throw host::CallError(std::string(entry) + " takes no arguments");
    }
    VeltoList result;
    result += library.callInteger(entry);
    return result;
}

VeltoList textResult(host::Library& library, std::string_view entry, const VeltoList& arguments) {
    if (arguments.size() != 1) {
        throw host::CallError(std::string(entry) + " takes one integer");
    }
    const auto number = static_cast<unsigned int>(arguments.at(0).AsLongLong());
    VeltoList result;
    if (const std::optional<std::string> text = library.callText(entry, number)) {
        result += *text;
    }
    return result;
}

}  // namespace

ScriptContext::ScriptContext(host::Library& library, Variables variables)
    : library_(library), variables_(std::move(variables)) {
    variables_.declare("result");
    for (const EntryHelp& entry : entryTable()) {
        if (entry.variable != nullptr) variables_.declare(entry.variable);
    }
}

Outcome ScriptContext::call(std::string_view entry, const VeltoList& arguments) {
    const nimb_callout_row* row = library_.find(entry);
    const std::string_view kind = row == nullptr ? "Bb" : row->arguments;
    Outcome outcome;
    if (kind == "P" || kind == "1Ji") {
        outcome.result = kind == "P" ? integerResult(library_, entry, arguments)
                                     : textResult(library_, entry, arguments);
        outcome.hasStatus = false;
        outcome.untouched = outcome.failed = outcome.result.empty();
    } else {
        outcome = callByList(entry, arguments);
    }
    noteClient(entry, arguments, outcome);
    keep(entry, outcome);
    return outcome;
}

ScriptContext::~ScriptContext() {
    for (const long long client : clients_) {
        try {
            library_.call("zfDestroyClientB", VeltoList() + client);
        } catch (const std::exception&) {  // the others still want to go
        }
    }
}

void ScriptContext::noteClient(std::string_view entry, const VeltoList& arguments,
                               const Outcome& outcome) {
    if (outcome.failed) {
        return;
    }
    if (entry == "zfCreateClientB") {
        clients_.insert(outcome.result.at(1).AsLongLong());
    } else if (entry == "zfDestroyClientB") {
        clients_.erase(arguments.at(0).AsLongLong());
    }
}

Outcome ScriptContext::callByList(std::string_view entry, const VeltoList& arguments) {
    Outcome outcome;
    const auto bytes = library_.call(entry, arguments);
    outcome.untouched = !bytes;
    if (bytes) {
        outcome.result = VeltoList(bytes->data(), bytes->size());
    }
    try {
        static_cast<void>(outcome.result.size());
        outcome.failed = outcome.untouched || outcome.result.at(0).AsLong() != 0;
    } catch (const std::exception&) {  // the list reader's word for bytes that are no list
        outcome.result = VeltoList();
        outcome.failed = outcome.cut = true;
    }
    return outcome;
}

void ScriptContext::keep(std::string_view entry, const Outcome& outcome) {
    VeltoList whole;
    whole += static_cast<const VeltoROList&>(outcome.result);
    variables_.set("result", std::move(whole));
    const EntryHelp* help = findHelp(entry);
    if (help != nullptr && help->variable != nullptr && !outcome.failed &&
        outcome.result.size() > 1) {
        const VeltoListItem item = outcome.result.at(1);
        variables_.set(help->variable, VeltoList(item.header(), item.size()));
    }
}

std::vector<std::string_view> ScriptContext::entryNames() const {
    std::vector<std::string_view> names;
    for (const nimb_callout_row& row : library_.rows()) {
        names.emplace_back(row.name);
    }
    return names;
}

}  // namespace nimb::standin
