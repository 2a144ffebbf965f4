#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace nimb::nimbhost {

/// Columns for a table: those of the terminal; nothing is cut where there is none.
std::size_t tableWidth() noexcept;

/// How a column gives way when the terminal is narrow.
enum class Column {
    left,     ///< never cut
    right,    ///< numbers, never cut
    cut,      ///< loses its end
    wrapped,  ///< goes on below
    tree,     ///< carries the branches of a tree
};

struct Heading {
    std::string name;
    Column kind = Column::left;
};

/// Rows of cells, aligned by libsmartcols, which knows how wide letters are.
class Table {
  public:
    explicit Table(std::vector<Heading> headings, bool showHeadings = true)
        : headings_(std::move(headings)), showHeadings_(showHeadings) {}

    /// @param parent  the row it hangs below in a tree, counted from 0; -1 for none
    void add(std::vector<std::string> cells, long parent = -1) {
        rows_.push_back({std::move(cells), parent});
    }
    bool empty() const noexcept { return rows_.empty(); }

    /// All lines, each with its line end, at most `width` columns wide where columns may be cut.
    /// Throws std::bad_alloc.
    std::string text(std::size_t width) const;

  private:
    struct Row {
        std::vector<std::string> cells;
        long parent;
    };

    std::vector<Heading> headings_;
    bool showHeadings_;
    std::vector<Row> rows_;
};

}  // namespace nimb::nimbhost
