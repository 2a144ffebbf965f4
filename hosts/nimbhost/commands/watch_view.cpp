#include "nimbhost/commands/watch_view.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <iostream>
#include <sstream>

#include "nimbhost/plant/duration.h"
#include "nimbhost/terminal/table.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

using Clock = Subscription::Clock;

std::string secondsSince(Clock::time_point when) {
    const std::chrono::duration<double> age = Clock::now() - when;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", age.count());
    return text.data();
}

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &parts)};
}

/// Text at the left and text at the right of a line; what does not fit is left out.
std::string spread(const std::string& left, const std::string& right, std::size_t width) {
    if (left.size() + right.size() + 2 > width) return left.substr(0, width);
    return left + std::string(width - left.size() - right.size(), ' ') + right;
}

Style styleOf(const WatchedNode& node) {
    if (node.last.isBad()) return Style::bad;
    return node.last.hasOverflow() ? Style::warning : Style::good;
}

std::vector<std::string> tableLines(const WatchState& state, host::Library& library,
                                    std::size_t width) {
    Table table({{"NODE", Column::cut},
                 {"VALUE", Column::cut},
                 {"STATUS", Column::cut},
                 {"AGE", Column::right},
                 {"CHANGES", Column::right},
                 {"LOST", Column::right}});
    for (const WatchedNode& node : state.nodes) {
        const std::string lost = node.overflows == 0 ? "0" : ">=" + std::to_string(node.overflows);
        table.add({harmless(node.name), node.arrived ? valueText(node.last) : "",
                   node.arrived ? statusText(library, node.last) : "waiting",
                   node.arrived ? secondsSince(node.when) : "", std::to_string(node.changes),
                   lost});
    }
    std::istringstream in(table.text(width));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(std::move(line));
    return lines;
}

}  // namespace

std::vector<std::string> pictureOf(const WatchState& state, const Subscription& subscription,
                                   host::Library& library, std::size_t width, std::size_t height) {
    const std::string head = state.server + (state.encrypted ? " encrypted" : " in clear") +
                             "   subscription " + std::to_string(subscription.id()) + " every " +
                             durationText(subscription.interval()) + "   last answer " +
                             secondsSince(subscription.lastAnswer()) + " ago";
    std::vector<std::string> lines{styled(spread(head, timeOfDay(), width), Style::bold)};
    const std::vector<std::string> rows = tableLines(state, library, width);
    for (std::size_t i = 0; i < rows.size() && lines.size() + 2 < height; ++i) {
        // The first line holds the headings.
        lines.push_back(i == 0 || !state.nodes[i - 1].arrived
                            ? styled(rows[i], i == 0 ? Style::bold : Style::faint)
                        : styleOf(state.nodes[i - 1]) == Style::good
                            ? rows[i]
                            : styled(rows[i], styleOf(state.nodes[i - 1])));
    }
    if (!state.sentence.empty()) {
        lines.push_back(styled(state.sentence.substr(0, width), Style::warning));
    }
    const unsigned long lost = subscription.lostInLibrary();
    const std::string queue = "library's queue " + std::to_string(subscription.queued()) + " of " +
                              std::to_string(subscription.queueBound()) +
                              (lost == 0 ? ", none lost" : ", " + std::to_string(lost) + " LOST");
    lines.push_back(state.paused ? spread("PAUSED", "q quit  p go on", width)
                                 : spread(queue, "q quit  p pause", width));
    return lines;
}

Screen::Screen() { openPage(); }
Screen::~Screen() { closePage(); }

void Screen::draw(const std::vector<std::string>& lines) {
    std::string out = "\033[H";
    for (const std::string& line : lines) {
        out += line + "\033[K" + (&line == &lines.back() ? "" : "\r\n");
    }
    std::cout << out << "\033[J" << std::flush;
}

char Screen::key() {
    if (!InputMode::isChanged()) return 0;
    char pressed = 0;
    return ::read(STDIN_FILENO, &pressed, 1) == 1 ? pressed : '\0';
}

}  // namespace nimb::nimbhost
