#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "elf/elf_file.h"
#include "entry_names.h"

namespace nimb::test {
namespace {

// The library lives in a foreign process: one name too many can capture another module's calls,
// one too few and a host that binds entries by name does not start.
std::set<std::string> publicNames() {
    std::set<std::string> names(std::begin(kEntryNames), std::end(kEntryNames));
    names.insert("GetZFTable");
    return names;
}

/// What `left` has and `right` has not.
std::vector<std::string> without(const std::set<std::string>& left,
                                 const std::set<std::string>& right) {
    std::vector<std::string> rest;
    std::ranges::set_difference(left, right, std::back_inserter(rest));
    return rest;
}

TEST(Exports, AreTheTableGetterAndTheEntriesAndNothingElse) {
    const auto exported = ElfFile(NIMB_LIBRARY_PATH).exportedNames();
    EXPECT_EQ(without(exported, publicNames()), std::vector<std::string>{}) << "exported too much";
    EXPECT_EQ(without(publicNames(), exported), std::vector<std::string>{}) << "not exported";
}

TEST(Exports, AreNotLookedUpByTheLibraryItself) {
    const ElfFile library(NIMB_LIBRARY_PATH);
    const auto lookedUp = library.lookedUpNames();
    EXPECT_TRUE(lookedUp.contains("UA_Client_newWithConfig"));
    EXPECT_EQ(without(publicNames(), lookedUp).size(), publicNames().size());
    EXPECT_TRUE(library.segment(PT_GNU_RELRO));
#ifndef __SANITIZE_ADDRESS__
    // One function, the run time's own: nothing of the library runs when it is loaded.
    EXPECT_EQ(library.dynamicValue(DT_INIT_ARRAYSZ).value_or(0), sizeof(void*));
#endif
}

}  // namespace
}  // namespace nimb::test
