#pragma once

#include <string>
#include <vector>

#include "cases.h"

namespace nimb::bench {

struct Row {
    Case subject;
    Outcome outcome;
    double spread;  ///< of the runs of which the outcome is the middle one, in the case's unit
};

/// What a case is judged by: its ratio, or its time in nanoseconds.
double figureOf(const Case& subject, const Outcome& outcome);

/// The rows as two Markdown tables, ratios and times.
std::string tables(const std::vector<Row>& rows);

/// The ratios as bars beside their targets: an SVG image.
std::string chart(const std::vector<Row>& rows);

/// printf into a string, for lines of reports.
std::string line(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace nimb::bench
