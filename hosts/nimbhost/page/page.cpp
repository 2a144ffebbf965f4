#include "nimbhost/page/page.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <sstream>

#include "nimbhost/entry_table.h"

namespace nimb::nimbhost {

namespace {

constexpr std::string_view kPrompt = "$ ";

std::string_view firstWord(std::string_view line) {
    return line.substr(0, line.find_first_of(" \t,"));
}

bool isScriptLine(std::string_view line) {
    const std::string_view word = firstWord(line);
    return word == "!" || word == "set" || word == "wait" || word == "repeat" || word == "echo" ||
           standin::findHelp(word) != nullptr;
}

std::string_view withoutPrompt(std::string_view line) {
    return line.starts_with(kPrompt) ? line.substr(kPrompt.size()) : line;
}

bool isCommand(std::string_view line) { return withoutPrompt(line).starts_with("nimbhost "); }
bool isOtherCommand(std::string_view line) { return line.starts_with(kPrompt) && !isCommand(line); }

/// Takes the lines of a block one by one.
class BlockReader {
  public:
    explicit BlockReader(int line) { block_.line = line; }

    void add(int number, const std::string& line, PageError& error);
    Block take() { return std::move(block_); }

  private:
    Block block_;
    int depth_ = 0;         ///< of open braces: a repeated block is one example
    bool script_ = false;   ///< within a command's own lines, down to END
    bool prompts_ = false;  ///< a prompt has been there: lines without one are answers
    bool skipping_ = false;
};

void BlockReader::add(int number, const std::string& line, PageError& error) {
    const std::string text = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
    prompts_ = prompts_ || text.starts_with(kPrompt);
    if (script_) {
        block_.examples.back().text += '\n' + text;
        script_ = text != "END";
    } else if (depth_ > 0) {
        block_.examples.back().text += '\n' + line;
        depth_ -= text.starts_with('}') ? 1 : 0;
    } else if ((isScriptLine(text) || isCommand(text)) &&
               (!prompts_ || text.starts_with(kPrompt))) {
        const bool command = isCommand(text);
        block_.examples.push_back(
            {number, command ? std::string(withoutPrompt(text)) : text, command, ""});
        depth_ = text.starts_with("repeat") ? 1 : 0;
        script_ = command && text.ends_with("<<'END'");
        skipping_ = false;
    } else if (isOtherCommand(text)) {
        skipping_ = true;  // another program's; what it answers is none of ours
    } else if (block_.examples.empty() && !skipping_ && !text.empty() && !text.starts_with('#')) {
        error = {number, "this answer has no call above it"};
    } else if (!skipping_ && !block_.examples.empty() && !text.starts_with('#')) {
        block_.examples.back().expected += line + '\n';
    }
}

/// The language that a fence names, without blanks.
std::string languageOf(std::string_view fence) {
    std::string language(fence.substr(3));
    std::erase_if(language, [](char c) { return c == ' ' || c == '\t' || c == '\r'; });
    return language;
}

std::string normalised(std::string_view text) {
    static const std::regex time(R"((\d{4}-\d{2}-\d{2}|…)[ T]\d{2}:\d{2}:\d{2}(\.\d+)?Z?)");
    const std::string masked = std::regex_replace(std::string(text), time, "TIME");
    std::string out;
    std::copy_if(masked.begin(), masked.end(), std::back_inserter(out),
                 [](char c) { return c != ' ' && c != '\n' && c != '\t' && c != '\r'; });
    return out;
}

}  // namespace

std::vector<Block> readPage(std::string_view page, PageError& error) {
    std::vector<Block> out;
    std::istringstream in{std::string(page)};
    std::vector<std::pair<int, std::string>> lines;
    int opened = 0;
    bool other = false;
    std::string line;
    for (int number = 1; std::getline(in, line) && error.line == 0; ++number) {
        const std::string text = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!text.starts_with("```")) {
            if (opened != 0) lines.emplace_back(number, line);
            continue;
        }
        if (opened == 0) {
            opened = number;
            other = !languageOf(text).empty() && languageOf(text) != "nimbhost";
            lines.clear();
            continue;
        }
        const bool plays = std::any_of(lines.begin(), lines.end(), [](const auto& each) {
            const std::size_t at = each.second.find_first_not_of(" \t");
            const std::string_view begin =
                std::string_view(each.second).substr(std::min(at, each.second.size()));
            return isCommand(begin) || standin::findHelp(firstWord(begin)) != nullptr;
        });
        if (plays && !other) {
            BlockReader reader(opened);
            for (const auto& [where, each] : lines) reader.add(where, each, error);
            out.push_back(reader.take());
        }
        opened = 0;
    }
    if (opened != 0 && error.line == 0) error = {opened, "this fence is not closed"};
    return out;
}

bool matches(std::string_view expected, std::string_view actual) {
    std::string pattern = normalised(expected);
    const std::string text = normalised(actual);
    for (std::size_t at = 0; (at = pattern.find("…", at)) != std::string::npos;) {
        pattern.replace(at, std::string_view("…").size(), "...");
    }
    constexpr std::string_view anything = "...";
    std::size_t at = 0;
    std::size_t from = 0;
    for (bool first = true;; first = false) {
        const std::size_t end = pattern.find(anything, from);
        const std::string piece = pattern.substr(from, end - from);
        if (end == std::string::npos) {
            // The last piece ends the text; the only piece is all of it.
            return text.size() >= at + piece.size() && text.ends_with(piece) &&
                   (!first || text == piece);
        }
        const std::size_t found = text.find(piece, at);
        if (found == std::string::npos || (first && found != 0)) return false;
        at = found + piece.size();
        from = end + anything.size();
    }
}

}  // namespace nimb::nimbhost
