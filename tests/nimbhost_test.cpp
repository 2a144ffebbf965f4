#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "base/library.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/render.h"
#include "nimbhost/script.h"
#include "nimbhost/value_parser.h"

namespace nimb::standin {
namespace {

Variables someVariables() {
    Variables variables;
    variables.set("handle", VeltoList() + 3);
    variables.set("result", VeltoList() + (VeltoList() + 0 + (VeltoList() + 7 + 1.5)));
    variables.declare("query");
    return variables;
}

struct Good {
    const char* input;
    const char* typed;
    const char* described;
};

class TypedValues : public testing::TestWithParam<Good> {};

TEST_P(TypedValues, AreReadAndShownInEveryForm) {
    const auto& [input, expected, described] = GetParam();
    const VeltoList list = parseValues(input, 0, someVariables());
    EXPECT_EQ(typed(list), expected);
    EXPECT_EQ(describe(list), described);
    EXPECT_EQ(typed(parseValues(described, 0, {})), expected) << "shown as it can be typed again";
}

INSTANTIATE_TEST_SUITE_P(
    Values, TypedValues,
    testing::Values(
        Good{"", "", ""}, Good{"42, -7 0x80340000", "i:42 i:-7 i:2150891520", "42, -7, 2150891520"},
        Good{"9223372036854775807 -9223372036854775808",
             "i:9223372036854775807 i:-9223372036854775808",
             "9223372036854775807, -9223372036854775808"},
        Good{"-.05, 12.340", "d:-.05 d:12.34", "-.05, 12.34"},
        Good{"f:0.1 f32:0.1 f:-inf", "f:0.1 f32:0.1 f:-Infinity", "f:0.1, f32:0.1, f:-Infinity"},
        Good{R"("K\x41\"ü\n" Tank1.Level)", R"(s:"KA\"ü\n" s:"Tank1.Level")",
             R"("KA\"ü\n", "Tank1.Level")"},
        Good{R"(u"水\u00e4😀\ud800")", R"(u:"水ä😀\ud800")", R"(u"水ä😀\ud800")"},
        Good{"x:00ff null", R"(s:"\x00\xff" n)", R"("\x00\xff", null)"},
        Good{"x:c080eda080", R"(s:"\xc0\x80\xed\xa0\x80")", R"("\xc0\x80\xed\xa0\x80")"},
        Good{R"([1, "a", [u"b" null]] [])", R"([i:1 s:"a" [u:"b" n]] s:"")",
             R"([1, "a", [u"b", null]], "")"},
        Good{"$handle $result[1][0] $result # both", "i:3 i:7 [i:0 [i:7 d:1.5]]",
             "3, 7, [0, [7, 1.5]]"}));

using Bad = std::pair<const char*, std::size_t>;  // input, position of the mistake
class WrongValues : public testing::TestWithParam<Bad> {};

TEST_P(WrongValues, AreRefusedWhereTheyAreWrong) {
    try {
        parseValues(GetParam().first, 0, someVariables());
        FAIL() << GetParam().first << " was taken";
    } catch (const SyntaxError& error) {
        EXPECT_EQ(error.position(), GetParam().second) << error.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Values, WrongValues,
                         testing::Values(Bad{"1,,2", 2}, Bad{"1,", 2}, Bad{"1 \"abc", 2},
                                         Bad{"[1, [2]", 0}, Bad{"1 ]", 2}, Bad{"\"a\"\"b\"", 3},
                                         Bad{"9223372036854775808", 0}, Bad{"1 1e400", 2},
                                         Bad{"1.2.3", 0}, Bad{"12ab", 0}, Bad{"f:abc", 2},
                                         Bad{"f:1e999", 2}, Bad{"x:123", 2}, Bad{"x:1g", 2},
                                         Bad{"\"\\q\"", 1}, Bad{"\"\\x4\"", 1},
                                         Bad{"u\"\\x41\"", 2}, Bad{"true", 0}, Bad{"$other", 0},
                                         Bad{"$query", 0}, Bad{"$result[9]", 0},
                                         Bad{"$handle[0]", 0}, Bad{"$result[a]", 8}));

TEST(Script, ShowsTheLineAndThePlaceOfAMistake) {
    const std::string script = "echo ok\nrepeat 2 {\n  zfVersion\n}\n! zfVersion $häh\n";
    try {
        parseScript("s.txt", script, {}, {"zfVersion"});
        FAIL();
    } catch (const InputError& error) {
        EXPECT_STREQ(error.what(),
                     "s.txt:5:13: there is no variable $h\n    ! zfVersion $häh\n"
                     "                ^");
    }
    for (const char* wrong : {"zfVerson", "repeat 2 {\nzfVersion", "}", "wait x", "set 1 = 2",
                              "set a 2", "set a = 1 2", "repeat 2\nzfVersion", "! echo x"}) {
        EXPECT_THROW(parseScript("s", wrong, {}, {"zfVersion"}), InputError) << wrong;
    }
}

TEST(Rendering, LeavesTextAloneWhenAskedTo) {
    EXPECT_EQ(typed(VeltoList() + (VeltoList() + 1), Nesting::raw), R"(s:"\x03\x04\x01")");
}

TEST(EntryTable, DescribesTheLibraryItIsFor) {
    host::Library library(NIMB_LIBRARY_PATH);
    ASSERT_EQ(library.rows().size(), entryTable().size());
    for (std::size_t i = 0; i < entryTable().size(); ++i) {
        const EntryHelp& help = entryTable()[i];
        EXPECT_STREQ(library.rows()[i].name, help.name);
        EXPECT_STREQ(library.rows()[i].arguments, help.specification);
        if (help.results == nullptr) {
            const auto refusal = library.call(help.name);
            EXPECT_NE(typed({refusal->data(), refusal->size()}).find("not available"),
                      std::string::npos);
        }
    }
}

}  // namespace
}  // namespace nimb::standin
