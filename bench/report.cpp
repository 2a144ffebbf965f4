#include "report.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace nimb::bench {

namespace {

constexpr int labelWidth = 290;
constexpr int barHeight = 22;
constexpr int plotWidth = 420;
constexpr double leftEdge = 0.9;  // ratios; below lies only noise
constexpr double rightEdge = 1.4;

double position(double ratio) {
    const double share =
        (std::clamp(ratio, leftEdge, rightEdge) - leftEdge) / (rightEdge - leftEdge);
    return labelWidth + plotWidth * share;
}

std::string gridLine(double ratio, std::size_t rows) {
    const double x = position(ratio);
    const int bottom = 40 + barHeight * static_cast<int>(rows);
    return line(
        "<line x1=\"%.1f\" y1=\"30\" x2=\"%.1f\" y2=\"%d\" stroke=\"#ccc\"/>"
        "<text x=\"%.1f\" y=\"22\" text-anchor=\"middle\">%.1f</text>\n",
        x, x, bottom, x, ratio);
}

std::string bar(const Row& row, int y) {
    const double ratio = row.outcome.cpuRatio;
    const double target = position(row.subject.target);
    const bool met = ratio <= row.subject.target;
    std::string svg = line("<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>\n",
                           labelWidth - 8, y + 14, row.subject.name.c_str());
    svg += line("<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"14\" fill=\"%s\"/>\n", labelWidth,
                y + 3, position(ratio) - labelWidth, met ? "#4a7ba6" : "#c0603a");
    svg += line(
        "<line x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" stroke=\"#222\" "
        "stroke-width=\"2\"/>\n",
        target, y + 1, target, y + 19);
    svg +=
        line("<text x=\"%d\" y=\"%d\">%.3f</text>\n", labelWidth + plotWidth + 10, y + 14, ratio);
    return svg;
}

bool inChart(const Row& row) {
    return row.subject.unit == Unit::ratio && row.subject.target < rightEdge;
}

std::string ratioRow(const Row& row) {
    const Outcome& o = row.outcome;
    const std::string control =
        line(o.controlHolds() ? "%.3f (%d)" : "**%.3f** (%d)", o.controlRatio, o.attempts);
    return line("| %s | %.4g | %s | %.3f | %.3f | %s | %.2f | %.2f |\n", row.subject.name.c_str(),
                row.subject.target, figure(3, o.cpuRatio, row.subject.target).c_str(), row.spread,
                o.wallRatio, control.c_str(), o.rawCpu / 1000, o.adapterCpu / 1000);
}

}  // namespace

double figureOf(const Case& subject, const Outcome& outcome) {
    return subject.unit == Unit::ratio ? outcome.cpuRatio : outcome.adapterCpu;
}

std::string figure(int places, double value, double target) {
    return line(value > target ? "**%.*f** missed" : "%.*f", places, value);
}

std::string line(const char* format, ...) {
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string ratioTable(const std::vector<Row>& rows) {
    std::string table =
        "| Case | Target | CPU ratio | spread | wall ratio | control (attempts) | raw CPU, µs | "
        "adapter CPU, µs |\n|---|---|---|---|---|---|---|---|\n";
    for (const Row& row : rows) {
        if (row.subject.unit == Unit::ratio) table += ratioRow(row);
    }
    return table;
}

std::string timeTable(const std::vector<Row>& rows) {
    std::string table = "| Entry | Target, ns | CPU, ns | spread |\n|---|---|---|---|\n";
    for (const Row& row : rows) {
        if (row.subject.unit == Unit::ratio) continue;
        const double target = row.subject.target;
        table += line("| %s | %.0f | %s | %.1f |\n", row.subject.name.c_str(), target,
                      figure(1, row.outcome.adapterCpu, target).c_str(), row.spread);
    }
    return table;
}

std::string chart(const std::vector<Row>& rows) {
    const auto count = static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), inChart));
    std::string svg = line(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
        "font-family=\"sans-serif\" font-size=\"13\">\n<rect width=\"100%%\" height=\"100%%\" "
        "fill=\"white\"/>\n",
        labelWidth + plotWidth + 70, 50 + barHeight * static_cast<int>(count));
    for (const double ratio : {0.9, 1.0, 1.1, 1.2, 1.3, 1.4}) svg += gridLine(ratio, count);
    int y = 36;
    for (const Row& row : rows) {
        if (!inChart(row)) continue;
        svg += bar(row, y);
        y += barHeight;
    }
    return svg + "</svg>\n";
}

}  // namespace nimb::bench
