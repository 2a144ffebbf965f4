#include "nimbhost/terminal/table.h"

#include <libsmartcols/libsmartcols.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

struct TableRelease {
    void operator()(libscols_table* table) const noexcept { scols_unref_table(table); }
};
using OwnedTable = std::unique_ptr<libscols_table, TableRelease>;

struct FreeRelease {
    void operator()(char* text) const noexcept { std::free(text); }
};

int flagsOf(Column kind) noexcept {
    switch (kind) {
        case Column::right:
            return SCOLS_FL_RIGHT;
        case Column::cut:
            return SCOLS_FL_TRUNC;
        case Column::wrapped:
            return SCOLS_FL_WRAP;
        case Column::tree:
            return SCOLS_FL_TREE | SCOLS_FL_TRUNC;
        default:
            return 0;
    }
}

/// The lines as they are seen, each with its end, which the library leaves out behind the last.
std::string withoutTrailingBlanks(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::size_t last = text.substr(0, end).find_last_not_of(' ');
        out += text.substr(0, last == std::string_view::npos ? 0 : last + 1);
        out += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

constexpr std::size_t kNoWidth = 100000;

void require(bool done) {
    if (!done) throw std::bad_alloc();
}

}  // namespace

std::size_t tableWidth() noexcept { return isTerminal(1) ? terminalWidth() : kNoWidth; }

std::string Table::text(std::size_t width) const {
    const OwnedTable table(scols_new_table());
    require(table != nullptr);
    scols_table_enable_noheadings(table.get(), showHeadings_ ? 0 : 1);
    scols_table_set_column_separator(table.get(), "  ");
    // Without this the width is the terminal's whatever is asked for.
    scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_ALWAYS);
    scols_table_set_termwidth(table.get(), width);
    for (const Heading& heading : headings_) {
        constexpr double natural = 1;
        const bool gives = flagsOf(heading.kind) != 0 && heading.kind != Column::right;
        require(scols_table_new_column(table.get(), heading.name.c_str(), gives ? 0.1 : natural,
                                       flagsOf(heading.kind)) != nullptr);
    }
    std::vector<libscols_line*> lines;
    for (const Row& row : rows_) {
        libscols_line* parent =
            row.parent < 0 ? nullptr : lines[static_cast<std::size_t>(row.parent)];
        libscols_line* line = scols_table_new_line(table.get(), parent);
        require(line != nullptr);
        lines.push_back(line);
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            require(scols_line_set_data(line, i, row.cells[i].c_str()) == 0);
        }
    }
    char* text = nullptr;
    require(scols_print_table_to_string(table.get(), &text) == 0);
    const std::unique_ptr<char, FreeRelease> owner(text);
    return withoutTrailingBlanks(text == nullptr ? "" : text);
}

}  // namespace nimb::nimbhost
