// nimbhost check: plays the examples of a manual's pages and compares the answers below them.

#include <iostream>
#include <regex>

#include "nimbhost/certificates/files.h"
#include "nimbhost/commands/script_player.h"
#include "nimbhost/page/command_output.h"
#include "nimbhost/page/page.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

/// Plays one page. All its blocks share one context, as somebody who reads on would keep it.
class PagePlayer {
  public:
    PagePlayer(Tool& tool, std::string file, std::string url)
        : tool_(tool), file_(std::move(file)), url_(std::move(url)) {}

    /// Whether the page is as it says. Throws BadInput for a page that cannot be read.
    bool play();
    std::size_t played() const noexcept { return played_; }

  private:
    void start();
    std::string answerOfCall(const Example& example);
    std::string withUrl(const std::string& text) const;
    bool playOne(const Example& example);

    Tool& tool_;
    std::string file_;
    std::string url_;
    std::optional<ScriptPlayer> script_;
    std::size_t played_ = 0;
};

/// A page writes opc.tcp://plant:4840; the server to try it with is another.
std::string PagePlayer::withUrl(const std::string& text) const {
    static const std::regex address(R"(opc\.tcp://[A-Za-z0-9._\-]+(:\d+)?)");
    return url_.empty() ? text : std::regex_replace(text, address, url_);
}

/// Most pages begin with a client that is there: it is made ready unless the page makes its own.
void PagePlayer::start() {
    script_.emplace(tool_);
    if (url_.empty()) return;
    standin::ScriptContext& context = script_->context();
    context.call("zfCreateClientB", {});
    VeltoList setUp;
    setUp.appendList(*context.variables().find("handle"));
    setUp = setUp + 3000 + 1 + "" + "" + "" + "" + "" + 0;
    context.call("zfSetupClientC", setUp);
    VeltoList connect;
    connect.appendList(*context.variables().find("handle"));
    context.call("zfConnectB", connect + url_);
}

std::string PagePlayer::answerOfCall(const Example& example) {
    standin::ScriptContext& context = script_->context();
    const std::vector<standin::Statement> statements = standin::parseScript(
        file_,
        std::string(static_cast<std::size_t>(example.line) - 1, '\n') + withUrl(example.text),
        context.variables(), context.entryNames());
    std::string answer;
    std::function<void(const std::vector<standin::Statement>&)> carryOut =
        [&](const std::vector<standin::Statement>& some) {
            for (const standin::Statement& each : some) {
                checkInterrupted();
                for (unsigned i = 0;
                     each.kind == standin::Statement::Kind::repeat && i < each.count; ++i) {
                    carryOut(each.body);
                }
                if (each.kind == standin::Statement::Kind::repeat) continue;
                answer = script_->runner().quietly(each);
            }
        };
    carryOut(statements);
    return answer;
}

bool PagePlayer::playOne(const Example& example) {
    const std::string place = file_ + ':' + std::to_string(example.line);
    CommandOutput output;
    if (example.command) {
        output = outputOf(withUrl(example.text));
        checkInterrupted();
    } else {
        output.text = answerOfCall(example);
        output.succeeded =
            output.text.starts_with('0') || output.text.empty() || example.text[0] == '!';
    }
    const std::string& answer = output.text;
    ++played_;
    const bool empty = example.expected.find_first_not_of(" \t\r\n") == std::string::npos;
    const bool good =
        empty ? output.succeeded : matches(withUrl(example.expected), withUrl(answer));
    if (tool_.json) {
        sayJson(Json{{"file", file_}, {"line", example.line}, {"ok", good}, {"answer", answer}});
    } else if (!good) {
        say(place + ": " + example.text + "\n  the page says:\n    " +
            (empty ? "(success)\n" : example.expected) + "  the answer is:\n    " + answer);
    }
    return good;
}

bool PagePlayer::play() {
    PageError error;
    std::vector<Block> blocks;
    try {
        blocks = readPage(readWholeFile(file_), error);
    } catch (const FileError& failure) {
        throw BadInput(failure.what());
    }
    if (error.line != 0)
        throw BadInput(file_ + ':' + std::to_string(error.line) + ": " + error.text);
    start();
    Progress progress("playing " + file_ + " ...");
    bool good = true;
    for (const Block& block : blocks) {
        progress.say("playing " + file_ + ':' + std::to_string(block.line) + " ...");
        for (const Example& example : block.examples) good = playOne(example) && good;
    }
    return good;
}

int checkPages(Tool& tool, const std::vector<std::string>& files, const std::string& url) {
    bool good = true;
    for (const std::string& file : files) {
        PagePlayer player(tool, file, url);
        const bool fine = player.play();
        good = good && fine;
        if (!tool.json) {
            say(file + ": " + std::to_string(player.played()) + " examples, " +
                (fine ? "all as written" : "NOT all as written"));
        }
    }
    return good ? allWell : failed;
}

}  // namespace

void addCheck(CLI::App& app, Tool& tool) {
    CLI::App* command =
        app.add_subcommand("check", "play a page's examples and compare the answers below them");
    const auto files = std::make_shared<std::vector<std::string>>();
    const auto url = std::make_shared<std::string>();
    command->add_option("FILE.md", *files, "pages of a manual")->required();
    command
        ->add_option(
            "-u,--url", *url,
            "play against this server instead of those in the pages, with $handle connected")
        ->type_name("URL");
    tool.onChosen(command, [files, url, &tool] { return checkPages(tool, *files, *url); });
}

}  // namespace nimb::nimbhost
