#include "nimbhost/report.h"

#include <algorithm>
#include <functional>
#include <set>
#include <vector>

#include "list/item_payload.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/json_result.h"
#include "nimbhost/terminal/terminal.h"
#include "nimbhost/text_escape.h"

namespace nimb::standin {

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::size_t kDeeper = 6;

constexpr const char* kErrorFields = "error kind; code; text";

/// Whether the label tells what a nested list holds; the list then stands below it.
bool hasShape(const std::string& label) { return label.ends_with(']'); }

/// The entry that names the numbers in a field, or null.
const char* namingEntry(std::string_view field) {
    struct Naming {
        std::string_view field;
        const char* entry;
    };
    static constexpr Naming namings[] = {
        {"status", "zfGetStatusCodeNameB"},          {"connect status", "zfGetStatusCodeNameB"},
        {"channel state", "zfGetChannelStateName"},  {"session state", "zfGetSessionStateName"},
        {"error kind", "zfGetSimpleErrorCodeNameB"},
    };
    for (const Naming& naming : namings) {
        // Repeated fields carry a number.
        if (field.substr(0, field.find_first_of("0123456789")).starts_with(naming.field)) {
            return naming.entry;
        }
    }
    return nullptr;
}

}  // namespace

void Report::heading(std::string_view text) {
    if (options_.form != ReportOptions::Form::json) {
        out_ << "\n== " << text << '\n';
    }
}

void Report::call(std::string_view entry, const VeltoROList& arguments) {
    if (options_.form == ReportOptions::Form::json) {
        return;
    }
    const EntryHelp* help = findHelp(entry);
    const std::string_view names = help == nullptr ? "" : help->arguments;
    out_ << '\n' << entry;
    std::size_t column = entry.size();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = fieldName(names, i);
        name.resize(std::min(name.find_first_of("[("), name.size()));
        while (name.ends_with(' ')) name.pop_back();
        const VeltoListItem item = arguments.at(i);
        const VeltoROList alone(item.header(), item.size());
        const std::string text = (i == 0 ? "  " : ", ") + name + " = " +
                                 (name == "password" ? "***" : describe(alone, options_.nesting));
        const bool wraps = i > 0 && column + text.size() > nimbhost::terminalWidth();
        out_ << (wraps ? ",\n    " + text.substr(2) : text);
        column = wraps ? kIndent + text.size() : column + text.size();
    }
    out_ << '\n';
    if (help != nullptr && help->results != nullptr && arguments.size() != fieldCount(names)) {
        out_ << "    note: " << entry << " takes " << fieldCount(names)
             << " arguments; \"nimbhost help " << entry << "\" tells about them\n";
    }
    out_ << std::flush;
}

void Report::outcome(std::string_view entry, const Outcome& outcome, bool failureExpected) {
    if (options_.form == ReportOptions::Form::json) {
        out_ << jsonOf(entry, outcome, options_.nesting)
                    .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
             << std::endl;
        return;
    }
    out_ << (!outcome.failed ? "  -> success" : "  -> failure")
         << (outcome.failed && failureExpected ? ", as expected" : "") << '\n';
    if (outcome.untouched) {
        out_ << "    nothing was written: the result does not fit into the host's 32767 bytes\n";
    } else if (outcome.cut) {
        out_ << "    what arrived is no list: the result has more than 65536 bytes and was cut\n";
    } else if (options_.form == ReportOptions::Form::hex) {
        out_ << hexDump({outcome.result.data(), outcome.result.datalength()});
    } else {
        const EntryHelp* help = findHelp(entry);
        const char* results = help == nullptr || help->results == nullptr ? "" : help->results;
        fields(outcome.failed ? kErrorFields : results, outcome.result, outcome.hasStatus ? 1 : 0);
    }
    out_ << std::flush;
}

void Report::fields(std::string_view names, const VeltoROList& items, std::size_t first) {
    const std::size_t width = nimbhost::terminalWidth();
    std::vector<std::string> labels;
    std::size_t widest = 0;
    for (std::size_t i = first; i < items.size(); ++i) {
        labels.push_back(fieldName(names, i - first));
        const std::string& label = labels.back();
        widest = hasShape(label) ? widest : std::max(widest, label.size());
    }
    for (std::size_t i = 0; i < labels.size(); ++i) {
        const VeltoListItem item = items.at(first + i);
        std::string& label = labels[i];
        out_ << std::string(kIndent, ' ');
        if (hasShape(label)) {
            out_ << label << " =\n"
                 << std::string(kDeeper, ' ')
                 << describeItem(item, options_.nesting, kDeeper, width) << '\n';
            nestedStatuses(item);
            continue;
        }
        const std::string meaning = nameOfCode(label, item);
        label.resize(std::max(label.size(), widest), ' ');
        const std::size_t left = width - std::min(width / 2, label.size() + 3);
        out_ << label << " = " << describeItem(item, options_.nesting, kIndent, left)
             << (meaning.empty() ? "" : "  ") << meaning << '\n';
    }
}

/// The names of the statuses other than Good inside nested lists, below them: a value stands there
/// as a list of two times, its status and itself.
void Report::nestedStatuses(const VeltoListItem& item) {
    std::set<long long> statuses;
    const std::function<void(const VeltoListItem&, int)> look = [&](const VeltoListItem& each,
                                                                    int depth) {
        const ItemPayload payload(each);
        constexpr int deepest = 32;
        if (depth > deepest || payload.type != item_code::kBytes ||
            !looksLikeList({payload.bytes, payload.length})) {
            return;
        }
        const VeltoROList list = each.AsVeltoROList();
        const bool value = list.size() > 3 && list.at(0).Type() == item_code::kUnicode &&
                           list.at(1).Type() == item_code::kUnicode;
        if (value && list.at(2).AsLongLong() != 0) statuses.insert(list.at(2).AsLongLong());
        for (const VeltoListItem inner : list) look(inner, depth + 1);
    };
    look(item, 0);
    for (const long long status : statuses) {
        out_ << std::string(kDeeper, ' ') << "status " << status << " is "
             << library_.statusName(static_cast<std::uint32_t>(status) & 0xFFFF0000U) << '\n';
    }
}

std::string Report::nameOfCode(std::string_view name, const VeltoListItem& item) {
    const char* entry = namingEntry(name);
    if (entry == nullptr || library_.find(entry) == nullptr) {
        return {};
    }
    try {
        const auto bytes = library_.call(entry, VeltoROList(item.header(), item.size()));
        const VeltoROList result(bytes ? bytes->data() : nullptr, bytes ? bytes->size() : 0);
        return result.at(0).AsLong() == 0 ? result.at(1).AsAString() : "";
    } catch (const std::exception&) {
        return {};  // the name only helps the reader; the number stands there
    }
}

}  // namespace nimb::standin
