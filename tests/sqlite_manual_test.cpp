// The examples of the page on SQLite, played in the real shell.

#include <sstream>
#include <string_view>
#include <vector>

#include "sqlite_shell.h"
#include "testbed/test_server.h"

namespace nimb::test {
namespace {

/// An example of the manual: what is typed, and the answer, where "..." stands for anything.
struct Example {
    std::string input;
    std::string answer;
};

std::vector<Example> examplesIn(const std::string& page) {
    constexpr std::string_view prompt = "sqlite> ";
    std::vector<Example> examples;
    std::istringstream lines(page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("```")) {
            inside = line == "```sqlite";
        } else if (inside && line.starts_with(prompt)) {
            examples.push_back({line.substr(prompt.size()), ""});
        } else if (inside) {
            examples.at(examples.size() - 1).answer += line + '\n';
        }
    }
    return examples;
}

bool matches(std::string_view text, std::string_view pattern) {
    constexpr std::string_view anything = "...";
    const std::size_t gap = pattern.find(anything);
    if (gap == std::string_view::npos) return text == pattern;
    if (!text.starts_with(pattern.substr(0, gap))) return false;
    pattern.remove_prefix(gap + anything.size());
    for (std::size_t skipped = gap; skipped <= text.size(); ++skipped) {
        if (matches(text.substr(skipped), pattern)) return true;
    }
    return false;
}

/// Plays the manual from its first example to its last.
void playManual(const Shell& shell) {
    const TestServer server;
    const auto examples = examplesIn(readFile(NIMB_DOCS_DIR "/sqlite.md"));
    ASSERT_GT(examples.size(), 10U);
    const std::string address = "opc.tcp://127.0.0.1:4840";
    std::string lines;
    for (Example example : examples) {
        if (const auto at = example.input.find(address); at != std::string::npos) {
            example.input.replace(at, address.size(), server.url());
        }
        lines += example.input + "\n.print --\n";
    }
    std::istringstream output(shell.run(lines));
    for (const Example& example : examples) {
        std::string answer;
        for (std::string line; std::getline(output, line) && line != "--";) answer += line + '\n';
        EXPECT_TRUE(matches(answer, example.answer)) << example.input << "\nanswers\n" << answer;
    }
    std::string rest;
    std::getline(output, rest, '\0');
    EXPECT_EQ(rest, "");
}

TEST(SqliteManual, ExamplesAnswerAsTheManualSays) { playManual(Shell()); }

TEST(SqliteManual, ExamplesTouchNoMemoryThatIsNotTheirs) {
    if (std::string_view(NIMB_VALGRIND).empty()) GTEST_SKIP() << "there is no valgrind";
    playManual(Shell(NIMB_VALGRIND " -q --leak-check=full --errors-for-leak-kinds=definite"));
}

}  // namespace
}  // namespace nimb::test
