#include "peer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "bench_nodes.h"

namespace nimb::bench {

namespace {

/// What a command writes behind `mark` at the beginning of a line; the client writes lines of its
/// own, also behind that one.
std::string figuresOf(const std::string& command, std::string_view mark) {
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
    if (output == nullptr) throw std::runtime_error("no process for the peer");
    std::string figures;
    for (std::array<char, 1024> text; std::fgets(text.data(), text.size(), output.get());) {
        const std::string_view line(text.data());
        if (line.starts_with(mark)) figures = line.substr(mark.size());
    }
    return figures;
}

}  // namespace

std::vector<PeerRow> measurePeer(const std::string& script, const std::string& url,
                                 const std::vector<Row>& rows) {
    const auto first = doubleNode(0);
    std::istringstream answer(figuresOf("node '" + script + "' " + url + " " +
                                            std::to_string(plant::namespaceIndex) + " " +
                                            std::to_string(first.numeric),
                                        "figures: "));
    std::string version;
    double one = 0;
    double many = 0;
    if (!(answer >> version >> one >> many)) throw std::runtime_error("the peer says no figures");
    std::vector<PeerRow> peer;
    const auto beside = [&](std::string_view rawCase, const char* request, double cpu) {
        const auto row =
            std::ranges::find(rows, rawCase, [](const Row& r) { return r.subject.name; });
        if (row != rows.end()) {
            peer.push_back({"node-opcua " + version + ", " + request, row->outcome.rawCpu, cpu});
        }
    };
    beside("read of one node", "read of one node", one);
    beside("poll C of 200 doubles", "read of 200 nodes", many);
    return peer;
}

std::string peerTable(const std::vector<PeerRow>& rows) {
    std::string table;
    for (const PeerRow& row : rows) {
        table += line("| %s | | %.3f | | | | %.2f | %.2f |\n", row.name.c_str(),
                      row.cpu / row.rawCpu, row.rawCpu / 1000, row.cpu / 1000);
    }
    return table;
}

}  // namespace nimb::bench
