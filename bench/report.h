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

/// A figure, marked when it is over its target.
std::string figure(int places, double value, double target);

/// The rows with ratios as a Markdown table, to which rows may be added.
std::string ratioTable(const std::vector<Row>& rows);
/// The rows with times as another.
std::string timeTable(const std::vector<Row>& rows);

/// The ratios as bars beside their targets: an SVG image.
std::string chart(const std::vector<Row>& rows);

/// printf into a string, for lines of reports.
std::string line(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace nimb::bench
