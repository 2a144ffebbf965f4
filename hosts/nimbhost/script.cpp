#include "nimbhost/script.h"

#include <algorithm>
#include <charconv>

#include "nimbhost/entry_table.h"
#include "nimbhost/password_mask.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string marked(const std::string& place, std::string_view text, std::size_t position,
                   const std::string& message) {
    const std::size_t password = passwordIn(text);
    const bool secret = password < text.size() && position >= password;
    if (secret) position = password;
    std::string margin;
    for (const char c : text.substr(0, position)) {
        const bool startsCharacter = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        margin += c == '\t' ? "\t" : startsCharacter ? " " : "";
    }
    return place + ':' + std::to_string(margin.size() + 1) + ": " +
           (secret ? std::string("here ") + kUnreadablePassword : message) + "\n    " +
           withoutPassword(text) + "\n    " + margin + '^';
}

class ScriptParser {
  public:
    ScriptParser(const std::string& file, std::string_view script, Variables variables,
                 const std::vector<std::string_view>& entries)
        : file_(file), rest_(script), variables_(std::move(variables)), entries_(entries) {
        variables_.checking = true;
    }

    /// Statements up to the end, or up to the closing brace of a block.
    std::vector<Statement> block(bool nested);

  private:
    bool nextLine();
    std::string_view takeWord();
    void skipBlanks() { at_ = std::min(line_.find_first_not_of(kBlanks, at_), line_.size()); }
    [[noreturn]] void fail(std::size_t position, const std::string& message) const {
        throw InputError(place(), line_, position, message);
    }
    std::string place() const { return file_ + ':' + std::to_string(number_); }

    Statement statement();
    void readCall(Statement& out, std::string_view entry, std::size_t where);
    void readSet(Statement& out);
    void readRepeat(Statement& out);
    unsigned readCount(unsigned most);
    void checkValues(bool exactlyOne);
    void expectEnd() {
        skipBlanks();
        if (at_ < line_.size() && line_[at_] != '#') fail(at_, "nothing may follow here");
    }

    const std::string& file_;
    std::string_view rest_;
    Variables variables_;
    const std::vector<std::string_view>& entries_;
    std::string_view line_;
    std::size_t at_ = 0;
    std::size_t number_ = 0;
};

bool ScriptParser::nextLine() {
    while (!rest_.empty()) {
        const std::size_t end = rest_.find('\n');
        line_ = rest_.substr(0, end);
        rest_ = end == std::string_view::npos ? "" : rest_.substr(end + 1);
        if (line_.ends_with('\r')) line_.remove_suffix(1);
        ++number_;
        at_ = 0;
        skipBlanks();
        if (at_ < line_.size() && line_[at_] != '#') {
            return true;
        }
    }
    return false;
}

std::string_view ScriptParser::takeWord() {
    skipBlanks();
    const std::size_t end = std::min(line_.find_first_of(" \t\r,#{=", at_), line_.size());
    const std::string_view word = line_.substr(at_, end - at_);
    at_ = end;
    return word;
}

std::vector<Statement> ScriptParser::block(bool nested) {
    const std::string opened = place();
    const std::string openedText(line_);
    std::vector<Statement> out;
    while (nextLine()) {
        if (line_[at_] == '}') {
            if (!nested) fail(at_, "no block is open here");
            ++at_;
            expectEnd();
            return out;
        }
        out.push_back(statement());
    }
    if (nested) {
        throw InputError(opened, openedText, openedText.size() - 1,
                         "this block is not closed: \"}\" is missing");
    }
    return out;
}

Statement ScriptParser::statement() {
    Statement out;
    out.place = place();
    out.text = line_;
    if (line_[at_] == '!') {
        out.failureExpected = true;
        ++at_;
        skipBlanks();
    }
    const std::size_t where = at_;
    const std::string_view word = takeWord();
    if (word == "echo" && !out.failureExpected) {
        out.kind = Statement::Kind::echo;
        skipBlanks();
        out.name = line_.substr(at_);
    } else if (word == "wait" && !out.failureExpected) {
        out.kind = Statement::Kind::wait;
        out.count = readCount(600000);
        expectEnd();
    } else if (word == "set" && !out.failureExpected) {
        readSet(out);
    } else if (word == "repeat" && !out.failureExpected) {
        readRepeat(out);
    } else {
        readCall(out, word, where);
    }
    return out;
}

void ScriptParser::readCall(Statement& out, std::string_view entry, std::size_t where) {
    if (std::find(entries_.begin(), entries_.end(), entry) == entries_.end()) {
        fail(where, "unknown entry or command \"" + std::string(entry) + '"' +
                        suggestion(entry, entries_));
    }
    out.name = entry;
    out.valuesAt = at_;
    checkValues(false);
}

void ScriptParser::readSet(Statement& out) {
    out.kind = Statement::Kind::set;
    skipBlanks();
    const std::size_t where = at_;
    out.name = takeWord();
    if (!isName(out.name)) {
        fail(where, "the name of a variable is expected: letters, digits and _");
    }
    skipBlanks();
    if (at_ == line_.size() || line_[at_] != '=') {
        fail(at_, "\"=\" is expected, as in: set NAME = VALUE");
    }
    out.valuesAt = ++at_;
    checkValues(true);
    variables_.declare(out.name);
}

void ScriptParser::readRepeat(Statement& out) {
    out.kind = Statement::Kind::repeat;
    out.count = readCount(1000000);
    skipBlanks();
    if (at_ == line_.size() || line_[at_] != '{') {
        fail(at_, R"("{" is expected, with the repeated lines below and "}" in the last line)");
    }
    ++at_;
    expectEnd();
    out.body = block(true);
}

unsigned ScriptParser::readCount(unsigned most) {
    skipBlanks();
    const std::size_t where = at_;
    const std::string_view word = takeWord();
    const char* const end = word.data() + word.size();
    unsigned count = 0;
    const auto [stop, error] = std::from_chars(word.data(), end, count);
    if (error != std::errc{} || stop != end || count > most) {
        fail(where, "a number from 0 to " + std::to_string(most) + " is expected");
    }
    return count;
}

void ScriptParser::checkValues(bool exactlyOne) try {
    if (exactlyOne) {
        parseValue(line_, at_, variables_);
    } else {
        parseValues(line_, at_, variables_);
    }
} catch (const SyntaxError& error) {
    fail(error.position(), error.what());
}

}  // namespace

InputError::InputError(const std::string& place, std::string_view text, std::size_t position,
                       const std::string& message)
    : std::runtime_error(marked(place, text, position, message)) {}

std::vector<Statement> parseScript(const std::string& file, std::string_view script,
                                   Variables variables,
                                   const std::vector<std::string_view>& entries) {
    return ScriptParser(file, script, std::move(variables), entries).block(false);
}

}  // namespace nimb::standin
