// The manual's pages, played and compared by nimbhost itself.

#include <gtest/gtest.h>

#include "nimbhost_workplace.h"
#include "testbed/server_process.h"

namespace nimb::test {
namespace {

const fs::path kDocs = NIMB_DOCS;

TEST(Manual, HasTheTablesThatAreInTheProgram) {
    const Workplace place;
    for (const auto& [page, table] : {std::pair("security.md", "set-up"),
                                      {"security.md", "connect"},
                                      {"sessions.md", "reach"},
                                      {"faults.md", "fault"}}) {
        const std::string text = readFile(kDocs / page);
        const std::string mark = std::string("<!-- causes: ") + table + " -->\n";
        const std::string printed =
            place.run(std::string("nimbhost explain --manual ") + table).out;
        EXPECT_GT(printed.size(), 100U);
        EXPECT_TRUE(holds(text, mark + printed)) << page << " lacks\n" << mark << printed;
    }
}

/// These begin with a plant that nobody has been connected to yet.
bool startsFromNothing(const std::string& page) {
    return page == "connect-your-host.md" || page == "nothing-arrives.md" || page == "security.md";
}

TEST(Manual, AnswersAsItsPagesSay) {
    std::vector<fs::path> pages{kDocs.parent_path() / "README.md"};
    for (const auto& entry : fs::directory_iterator(kDocs)) {
        const bool page = entry.path().extension() == ".md";
        if (page && !startsFromNothing(entry.path().filename())) pages.push_back(entry.path());
    }
    EXPECT_GT(pages.size(), 8U);
    for (const fs::path& page : pages) {
        const ServerProcess server({"--move", "0"});
        const auto checked =
            Workplace().run("nimbhost check -u " + server.url() + " '" + page.string() + "'");
        EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
    }
}

class FromNothingTest : public testing::TestWithParam<std::string> {};

/// The server's administrator is played by a link that trusts the client as soon as it is made, and
/// by a variable with the fingerprint.
TEST_P(FromNothingTest, ConnectsAsThePagesSay) {
    const Workplace place;
    place.run("mkdir -p plant/trusted && ln -s ../../own/client.der plant/trusted/client.der");
    const ServerProcess server({"--encrypted", place.folder.path() / "plant"});
    const auto shown = jsonLines(place.run("nimbhost cert show --json plant/own/server.der").out);
    const auto checked =
        place.run("cp '" NIMB_DOCS "/'*.md .; SHA256=" + shown.at(0)["sha256"].get<std::string>() +
                  " nimbhost check -u " + server.url() + ' ' + GetParam());
    EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
    EXPECT_FALSE(holds(checked.out, ": 0 examples")) << checked.out;
}

INSTANTIATE_TEST_SUITE_P(Pages, FromNothingTest,
                         testing::Values("connect-your-host.md nothing-arrives.md", "security.md"),
                         [](const auto& each) {
                             return each.param[0] == 'c' ? "Host" : "Security";
                         });

}  // namespace
}  // namespace nimb::test
