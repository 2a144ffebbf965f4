#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>

namespace nimb::test {
namespace {

namespace fs = std::filesystem;

const std::map<std::string, int> floorOf = {
    {"host", 0},   {"list", 0},         {"errors", 1},  {"convert", 2},
    {"client", 3}, {"subscription", 4}, {"callout", 5},
};

/// The operand of an include line with its opening bracket or quote, as in `<vector` or
/// `"list/ro_list.h`; empty for any other line.
std::string includeOperand(const std::string& line) {
    std::istringstream in(line);
    char mark = 0;
    std::string rest;
    if (!(in >> mark) || mark != '#' || !std::getline(in >> std::ws, rest) ||
        !rest.starts_with("include")) {
        return {};
    }
    const auto begin = rest.find_first_of("<\"");
    return begin == std::string::npos
               ? "?"
               : rest.substr(begin, rest.find_first_of(">\"", begin + 1) - begin);
}

/// Why `line`, found in a file of `folder`, breaks the order of the floors; empty if it does not.
std::string offence(const std::string& folder, const std::string& line) {
    const std::string operand = includeOperand(line);
    if (operand.empty()) {
        return {};
    }
    const std::string head = operand.substr(1, operand.find('/') - 1);
    if (operand.front() == '<') {
        const bool bare = folder == "list" || folder == "host";
        return bare && head == "open62541" ? "this floor knows nothing of the stack" : "";
    }
    if (head == folder) {
        return {};
    }
    if (!floorOf.contains(head)) {
        return "not of the form \"folder/file.h\"";
    }
    return floorOf.at(head) < floorOf.at(folder) ? "" : "not a floor below";
}

TEST(Architecture, RulesTellAllowedFromForbiddenIncludes) {
    EXPECT_EQ(offence("client", R"(#include "errors/uac_err.h")"), "");
    EXPECT_EQ(offence("client", R"(#include "client/session.h")"), "");
    EXPECT_EQ(offence("list", "#include <vector>"), "");
    EXPECT_NE(offence("client", R"(#include "subscription/subscription.h")"), "");
    EXPECT_NE(offence("client", R"(  #  include "callout/table.h" // why not)"), "");
    EXPECT_NE(offence("list", R"(#include "host/counted_string.h")"), "");
    EXPECT_NE(offence("host", R"(#include "list/velto_list.h")"), "");
    EXPECT_NE(offence("list", "#include <open62541/types.h>"), "");
    EXPECT_NE(offence("client", R"(#include "../callout/table.h")"), "");
    EXPECT_NE(offence("errors", R"(#include "uac_err.h")"), "");
    EXPECT_NE(offence("errors", "#include SOME_MACRO"), "");
}

TEST(Architecture, EveryFileIncludesOnlyItsOwnFloorAndThoseBelow) {
    std::map<std::string, int> files;
    for (const auto& entry : fs::recursive_directory_iterator(NIMB_SOURCE_DIR)) {
        const fs::path relative = fs::relative(entry.path(), NIMB_SOURCE_DIR);
        const std::string folder = relative.begin()->string();
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") {
            continue;
        }
        ASSERT_TRUE(floorOf.contains(folder)) << relative << " lies on no floor";
        ++files[folder];
        std::ifstream in(entry.path());
        int number = 0;
        for (std::string line; std::getline(in, line);) {
            ++number;
            EXPECT_EQ(offence(folder, line), "")
                << relative.string() << ':' << number << ' ' << line;
        }
    }
    EXPECT_EQ(files.size(), floorOf.size()) << "a floor was not found";
}

/// Why `line`, found in a host's folder, goes past the door; empty if it does not. A host includes
/// its own folder, the base, the door, the list encoding and the UTF-8 check; nimbhost also the
/// stack, for what no entry can do: discovery and certificates.
std::string hostOffence(const std::string& folder, const std::string& line) {
    const std::string operand = includeOperand(line);
    if (operand.empty()) {
        return {};
    }
    const std::string head = operand.substr(1, operand.find('/') - 1);
    if (operand.front() == '<') {
        return head == "open62541" && folder != "nimbhost" ? "a host knows nothing of the stack"
                                                           : "";
    }
    const bool allowed =
        head == folder || head == "base" || head == "list" || operand == "\"convert/utf.h";
    return allowed ? "" : "not the door, the base or the list encoding";
}

TEST(Architecture, HostsStandOnTheDoorAlone) {
    EXPECT_EQ(hostOffence("sqlite", R"(#include "base/library.h")"), "");
    EXPECT_EQ(hostOffence("base", "#include <nimbopcua/callout_table.h>"), "");
    EXPECT_NE(hostOffence("base", R"(#include "sqlite/module.h")"), "");
    EXPECT_NE(hostOffence("base", R"(#include "client/opcua_client.h")"), "");
    EXPECT_NE(hostOffence("sqlite", R"(#include "convert/ua_export.h")"), "");
    EXPECT_NE(hostOffence("base", R"(#include "host/counted_string.h")"), "");
    EXPECT_NE(hostOffence("base", "#include <open62541/types.h>"), "");
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(NIMB_HOSTS_DIR)) {
        const fs::path relative = fs::relative(entry.path(), NIMB_HOSTS_DIR);
        const std::string extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp" && extension != ".c") {
            continue;
        }
        ++files;
        std::ifstream in(entry.path());
        for (std::string line; std::getline(in, line);) {
            EXPECT_EQ(hostOffence(relative.begin()->string(), line), "")
                << relative.string() << ' ' << line;
        }
    }
    EXPECT_GT(files, 20) << "the hosts were not found";
}

TEST(Architecture, NoTestFileIsForgottenByTheBuild) {
    const fs::path folder = NIMB_TEST_DIR;
    std::ifstream in(folder / "CMakeLists.txt");
    const std::string lists{std::istreambuf_iterator<char>(in), {}};
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with("_test.cpp")) {
            EXPECT_NE(lists.find(name), std::string::npos) << name << " is in no program";
        }
    }
}

}  // namespace
}  // namespace nimb::test
