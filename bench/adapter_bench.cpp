// What the adapter costs beside the bare stack: both make the same requests of the same server, in
// one process and in turns, on the CPU clock of the thread. Prints Markdown tables.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string_view>

#include "peer.h"
#include "processors.h"
#include "report.h"
#include "testbed/server_process.h"

namespace {

using namespace nimb::bench;

constexpr const char* usage =
    "usage: nimb-adapter-bench [--only TEXT] [--chart FILE] [--peer FILE]\n"
    "       nimb-adapter-bench --repeat CASE adapter|raw N\n"
    "  --only    measures only the cases whose name contains TEXT\n"
    "  --chart   also writes the ratios as an SVG image\n"
    "  --peer    also runs this script, bench/peer.cjs, which reads with another client\n"
    "  --repeat  makes N calls of one side, for instruction counting inside repeatCalls(), and\n"
    "            says how many units of work they were\n";

struct Options {
    std::string only;
    std::string chartFile;
    std::string peerScript;
    std::string side;
    long repeats = 0;
};

Options parse(int count, char** arguments) {
    Options options;
    const auto value = [&](int& i) {
        if (++i >= count) throw std::runtime_error(usage);
        return std::string(arguments[i]);
    };
    for (int i = 1; i < count; ++i) {
        const std::string_view option = arguments[i];
        if (option == "--only") {
            options.only = value(i);
        } else if (option == "--chart") {
            options.chartFile = value(i);
        } else if (option == "--peer") {
            options.peerScript = value(i);
        } else if (option == "--repeat") {
            options.only = value(i);
            options.side = value(i);
            options.repeats = std::strtol(value(i).c_str(), nullptr, 10);
        } else {
            throw std::runtime_error(usage);
        }
    }
    return options;
}

std::vector<Case> selectedCases(const std::string& only) {
    std::vector<Case> cases;
    addServiceCases(cases);
    addPrepareCases(cases);
    addSubscriptionCases(cases);
    addGuardCases(cases);
    addLocalCases(cases);
    std::erase_if(cases, [&](const Case& c) { return c.name.find(only) == std::string::npos; });
    return cases;
}

/// The middle one of three runs, each with sessions of its own.
Row measured(const Case& subject, const Setting& setting) {
    constexpr int count = 3;
    std::vector<Outcome> runs;
    for (int run = 0; run < count; ++run) {
        runs.push_back(compare(subject.prepare(setting), subject.plan));
    }
    const auto figure = [&](const Outcome& run) { return figureOf(subject, run); };
    std::ranges::sort(runs, {}, figure);
    return {subject, runs[count / 2], figure(runs.back()) - figure(runs.front())};
}

void measureAll(const std::vector<Case>& cases, const Setting& setting, const Options& options) {
    std::vector<Row> rows;
    for (const Case& subject : cases) {
        std::fprintf(stderr, "%s\n", subject.name.c_str());
        rows.push_back(measured(subject, setting));
    }
    std::vector<PeerRow> peer;
    try {
        if (!options.peerScript.empty()) peer = measurePeer(options.peerScript, setting.url, rows);
    } catch (const std::exception& failure) {  // the other figures stand without it
        std::fprintf(stderr, "%s\n", failure.what());
    }
    std::fputs((ratioTable(rows) + peerTable(peer) + "\n" + timeTable(rows)).c_str(), stdout);
    if (!options.chartFile.empty()) std::ofstream(options.chartFile) << chart(rows);
}

}  // namespace

/// By this name the instruction counter knows where to count.
extern "C" __attribute__((noinline)) void repeatCalls(const Side& side, long times) {
    for (long i = 0; i < times; ++i) side.call();
}

int main(int count, char** arguments) {
    try {
        const Options options = parse(count, arguments);
        takeFirstProcessor();
        const nimb::test::ServerProcess server(NIMB_BENCH_SERVER, {});
        nimb::host::Library library(NIMB_LIBRARY_PATH);
        const Setting setting{library, server.url()};
        const std::vector<Case> cases = selectedCases(options.only);
        if (cases.empty()) throw std::runtime_error("no such case");
        if (options.repeats == 0) {
            measureAll(cases, setting, options);
            return 0;
        }
        const Contest contest = cases.front().prepare(setting);
        contest.check();  // also warms up
        const Side& side = options.side == "raw" ? contest.raw : contest.adapter;
        if (side.settle) side.settle();
        const double before = side.work ? side.work() : 0;
        repeatCalls(side, options.repeats);
        const double units =
            side.work ? side.work() - before : static_cast<double>(options.repeats);
        std::printf("units of work: %.0f\n", units);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-adapter-bench: %s\n", error.what());
        return 1;
    }
}
