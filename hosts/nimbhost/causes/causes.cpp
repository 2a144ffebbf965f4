#include "nimbhost/causes/causes.h"

#include <algorithm>
#include <regex>
#include <stdexcept>

namespace nimb::nimbhost {

namespace {

enum class Presence { notAsked, absent, present };

Presence presenceOf(const char* const (&words)[2], std::string_view text) {
    if (words[0] == nullptr) return Presence::notAsked;
    for (const char* word : words) {
        if (word != nullptr && text.find(word) != std::string_view::npos) return Presence::present;
    }
    return Presence::absent;
}

struct ManualColumns {
    CauseTable table;
    const char* name;
    const char* head;  ///< the cells are failure, log, cause and cure, without those left out here
    bool log;
    bool cause;
};

constexpr ManualColumns kManual[] = {
    {CauseTable::setUp, "set-up",
     "| Text of the failure | The log says | Cause | Remedy |\n|---|---|---|---|\n", true, true},
    {CauseTable::connect, "connect",
     "| Text of the failure | The log says | Cause | Remedy |\n|---|---|---|---|\n", true, true},
    {CauseTable::reach, "reach", "| Text holds | Cause | Remedy |\n|---|---|---|\n", false, true},
    {CauseTable::fault, "fault", "| When | Do |\n|---|---|\n", false, false},
};

}  // namespace

std::vector<const Cause*> causesOf(std::span<const CauseTable> tables, std::string_view failure,
                                   std::string_view log) {
    std::vector<const Cause*> out;
    for (const Cause& row : causes()) {
        const bool asked = std::find(tables.begin(), tables.end(), row.table) != tables.end();
        const bool logFits = log.empty() || presenceOf(row.inLog, log) != Presence::absent;
        if (asked && presenceOf(row.inFailure, failure) == Presence::present && logFits) {
            out.push_back(&row);
        }
    }
    return out;
}

const Cause* causeOfLogLine(std::string_view line) {
    for (const Cause& row : causes()) {
        const bool inLog = presenceOf(row.inLog, line) == Presence::present;
        // The set-up's own failures stand in the log word for word.
        const bool asItIs = row.inLog[0] == nullptr && row.table == CauseTable::setUp &&
                            presenceOf(row.inFailure, line) == Presence::present;
        if (inLog || asItIs) return &row;
    }
    return nullptr;
}

std::vector<const Cause*> causesOfText(std::string_view text) {
    std::vector<const Cause*> out;
    for (const Cause& row : causes()) {
        if (presenceOf(row.inFailure, text) == Presence::present ||
            presenceOf(row.inLog, text) == Presence::present) {
            out.push_back(&row);
        }
    }
    return out;
}

const char* nameOf(CauseTable table) noexcept {
    return std::find_if(std::begin(kManual), std::end(kManual),
                        [table](const auto& columns) { return columns.table == table; })
        ->name;
}

std::string manualTable(std::string_view name) {
    const auto* columns = std::find_if(std::begin(kManual), std::end(kManual),
                                       [name](const auto& each) { return each.name == name; });
    if (columns == std::end(kManual)) {
        throw std::out_of_range("no table \"" + std::string(name) +
                                "\"; there are set-up, connect, reach and fault");
    }
    std::string out = columns->head;
    for (const Cause& row : causes()) {
        if (row.table != columns->table) continue;
        out += std::string("| ") + row.failure + " | ";
        if (columns->log) out += std::string(row.log) + " | ";
        if (columns->cause) out += std::string(row.cause) + " | ";
        out += std::string(row.cure) + " |\n";
    }
    return out;
}

std::string plain(std::string_view markdown) {
    static const std::regex link(R"(\[([^\]]*)\]\([^)]*\))");
    std::string out = std::regex_replace(std::string(markdown), link, "$1");
    for (const std::string_view mark : {"**", "`"}) {
        for (std::size_t at = 0; (at = out.find(mark, at)) != std::string::npos;) {
            out.erase(at, mark.size());
        }
    }
    return out;
}

}  // namespace nimb::nimbhost
