// nimbhost watch: a live table on a terminal, a line a change elsewhere.

#include "nimbhost/commands/watch_view.h"

#include <iostream>

#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

using Clock = Subscription::Clock;
using std::chrono::milliseconds;

struct WatchOptions {
    std::string interval = "500ms", during, within;
    unsigned long count = 0;
    unsigned queue = 10;
    bool csv = false;
    bool noRecover = false;
};

struct Limits {
    std::optional<milliseconds> during, within;
    unsigned long count = 0;
};

std::optional<milliseconds> timeOption(const char* option, const std::string& text) try {
    return text.empty() ? std::nullopt : std::optional(parseDuration(text));
} catch (const BadInput& error) {
    throw BadInput(std::string(option) + ' ' + error.what());
}

std::string csvCell(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string out = "\"";
    for (const char c : text) out += c == '"' ? "\"\"" : std::string(1, c);
    return out + '"';
}

class Watch {
  public:
    Watch(Tool& tool, PlantSettings settings, const WatchOptions& options)
        : tool_(tool), settings_(std::move(settings)), options_(options) {
        limits_ = {timeOption("--for", options.during), timeOption("--within", options.within),
                   options.count};
    }

    int run(const std::vector<std::string>& typed);

  private:
    void follow(Subscription& subscription);
    bool isOver() const;
    void step(Subscription& subscription);
    void note(const Change& change, host::Library& library);
    void watchOver(Subscription& subscription);
    void recover(Subscription& subscription, const std::string& reason);
    void tell(const std::string& sentence);
    void show(const Subscription& subscription);
    void handleKey(Screen& screen);

    Tool& tool_;
    PlantSettings settings_;
    WatchOptions options_;
    Limits limits_;
    WatchState state_;
    std::unique_ptr<Screen> screen_;
    std::pair<std::size_t, std::size_t> drawn_;  ///< the terminal's size at the last picture
    Clock::time_point begun_ = Clock::now();
    Clock::time_point asked_{};  ///< when silence was last looked into
    Clock::time_point told_{};   ///< when the sentence came
    unsigned long seen_ = 0;
    bool quit_ = false;
};

void Watch::tell(const std::string& sentence) {
    if (sentence == state_.sentence) return;
    state_.sentence = sentence;
    told_ = Clock::now();
    if (!screen_ && !sentence.empty()) std::cerr << "nimbhost: " << sentence << '\n';
}

void Watch::note(const Change& change, host::Library& library) {
    WatchedNode& node = state_.nodes[change.node];
    node.last = change.sample;
    node.arrived = true;
    node.when = Clock::now();
    ++node.changes;
    node.overflows += change.sample.hasOverflow() ? 1U : 0U;
    ++seen_;
    if (screen_) return;
    const Sample& sample = change.sample;
    if (tool_.json) {
        sayJson(jsonOf(library, sample, node.overflows));
    } else if (options_.csv) {
        say(timeText(sample.source) + ',' + csvCell(sample.name) + ',' +
            csvCell(valueText(sample)) + ',' + csvCell(statusText(library, sample)));
    } else {
        say(timeText(sample.source) + "  " + harmless(sample.name) + "  " + valueText(sample) +
            "  " + statusText(library, sample));
    }
}

bool Watch::isOver() const {
    const auto running = Clock::now() - begun_;
    return quit_ || (limits_.count != 0 && seen_ >= limits_.count) ||
           (limits_.during && running >= *limits_.during) ||
           (limits_.within && seen_ == 0 && running >= *limits_.within);
}

void Watch::recover(Subscription& subscription, const std::string& reason) {
    if (options_.noRecover) throw std::runtime_error(reason + "; not set up again (--no-recover)");
    constexpr auto pause = milliseconds(1000);
    for (int tries = 1; !isOver(); ++tries) {
        // A log is told once: a server may stay away for a night.
        if (screen_ || tries == 1) {
            tell("setting up again" + (screen_ ? ", try " + std::to_string(tries) : "") + ": " +
                 reason);
        }
        show(subscription);
        try {
            subscription.create();
            tell("the session was lost and set up again");
            return;
        } catch (const host::Failure&) {
            for (auto end = Clock::now() + pause; Clock::now() < end && !isOver();) {
                interruptibleSleep(milliseconds(50));
                if (screen_) handleKey(*screen_);
            }
        }
    }
}

/// Silence may be a plant that rests, a server that hangs, or a connection that ended unnoticed.
void Watch::watchOver(Subscription& subscription) {
    const auto silence =
        std::chrono::duration_cast<milliseconds>(Clock::now() - subscription.lastAnswer());
    const milliseconds due = subscription.signOfLifeAfter();
    if (silence <= due) {
        constexpr auto longEnough = milliseconds(10000);  // for good news to be read
        if (state_.sentence.starts_with("nothing for")) {
            tell("answers come again");
        } else if (Clock::now() - told_ > longEnough) {
            tell("");
        }
        return;
    }
    if (Clock::now() - asked_ < std::max(due, milliseconds(1000))) return;
    asked_ = Clock::now();
    const std::string sentence = "nothing for " + durationText(silence) +
                                 ", a sign of life was due after " + durationText(due);
    if (screen_ || !state_.sentence.starts_with("nothing for")) {
        tell(sentence + "; asking the server");
    }
    show(subscription);
    try {
        subscription.tryConnection();
        if (subscription.isLost()) {
            recover(subscription, "the session was lost");
        } else if (silence > 3 * due) {
            recover(subscription, "the server answers, but no longer this subscription");
        }
    } catch (const host::Failure& failure) {
        if (failure.timedOut()) {
            constexpr const char* known = "; the server does not answer";
            if (screen_ || !state_.sentence.ends_with(known)) tell(sentence + known);
            asked_ = Clock::now();
        } else {
            recover(subscription, std::string("the server is not reached: ") + failure.what());
        }
    }
}

void Watch::step(Subscription& subscription) {
    constexpr auto wait = milliseconds(100);
    checkInterrupted();
    try {
        for (const Change& change : subscription.poll(wait)) {
            if (limits_.count != 0 && seen_ >= limits_.count) return;
            note(change, tool_.library());
        }
        watchOver(subscription);
    } catch (const host::Failure& failure) {
        recover(subscription, failure.what());
    }
}

void Watch::handleKey(Screen& screen) {
    const char key = screen.key();
    if (key == 'q') quit_ = true;
    if (key == 'p' || key == ' ') state_.paused = !state_.paused;
}

void Watch::show(const Subscription& subscription) {
    if (!screen_) return;
    const bool wasPaused = state_.paused;
    handleKey(*screen_);
    const std::pair size(terminalWidth(), terminalHeight());
    const bool stands = wasPaused && state_.paused && size == drawn_;
    if (stands && !isOver()) return;
    drawn_ = size;
    screen_->draw(pictureOf(state_, subscription, tool_.library(), size.first, size.second));
}

void Watch::follow(Subscription& subscription) {
    if (canRedraw() && !tool_.json && !options_.csv) screen_ = std::make_unique<Screen>();
    while (!isOver()) {
        step(subscription);
        show(subscription);
    }
}

int Watch::run(const std::vector<std::string>& typed) {
    host::Connection connection(tool_.library(), plantOf(settings_));
    state_.server = settings_.url.substr(std::string_view("opc.tcp://").size());
    state_.encrypted = settings_.isEncrypted();
    SubscriptionRequest request;
    request.interval = *timeOption("--interval", options_.interval);
    request.nodeQueue = options_.queue;
    std::vector<host::NodeId> ids;
    std::optional<Subscription> subscription;
    try {
        const Progress progress(waitText("connecting to " + settings_.url, settings_.timeout));
        for (const NamedNode& node : resolveNodes(connection, typed, settings_.defaultNamespace)) {
            ids.push_back(node.id);
            state_.nodes.push_back({node.typed, {}, false, 0, 0, {}});
        }
        subscription.emplace(connection, typed, ids, request);
        subscription->create();
    } catch (const host::Failure& failure) {
        throw std::runtime_error(explained(failure, settings_));
    }
    begun_ = Clock::now();
    follow(*subscription);
    const bool onScreen = screen_ != nullptr;
    screen_.reset();
    state_.paused = false;
    if (onScreen) {
        for (const std::string& line :
             pictureOf(state_, *subscription, tool_.library(), terminalWidth(), kNoLimit)) {
            say(line);
        }
    }
    if (seen_ == 0 && limits_.within) {
        std::cerr << "nimbhost: nothing came within " << durationText(*limits_.within) << '\n';
        return nothingCame;
    }
    return allWell;
}

}  // namespace

void addWatch(CLI::App& app, Tool& tool) {
    CLI::App* command =
        app.add_subcommand("watch", "a live table on a terminal, a line a change elsewhere");
    const auto plant = std::make_shared<PlantOptions>();
    const auto options = std::make_shared<WatchOptions>();
    const auto nodes = std::make_shared<std::vector<std::string>>();
    plant->addTo(*command);
    command->add_option("NODE", *nodes, "as for read")->required();
    command->add_option("--interval", options->interval, "how often the server sends (500ms)")
        ->type_name("TIME");
    command->add_option("-n,--count", options->count, "end after so many changes")->type_name("N");
    command->add_option("--for", options->during, "end after this time")->type_name("TIME");
    command->add_option("--within", options->within, "give up, status 4, when nothing came by then")
        ->type_name("TIME");
    command->add_option("--queue", options->queue, "changes that the server keeps a node (10)")
        ->check(CLI::Range(1, 100000))
        ->type_name("N");
    command->add_flag("--csv", options->csv, "source time, node, value and status with commas");
    command->add_flag("--no-recover", options->noRecover, "end when the session is lost");
    tool.onChosen(command,
                  [=, &tool] { return Watch(tool, plant->settings(), *options).run(*nodes); });
}

}  // namespace nimb::nimbhost
