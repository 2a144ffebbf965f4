#include <gtest/gtest.h>

#include <algorithm>

#include "elf/elf_file.h"

namespace nimb::test {
namespace {

// What the linker was asked for can get lost silently, in a tool chain's defaults or by one object
// file that brings an executable stack along; so the finished library is looked at.
class Hardening : public testing::Test {
  protected:
    const ElfFile library_{NIMB_LIBRARY_PATH};
};

TEST_F(Hardening, RelocationsAreResolvedAtLoadAndThenReadOnly) {
    EXPECT_TRUE(library_.segment(PT_GNU_RELRO));
    EXPECT_TRUE(library_.dynamicValue(DT_FLAGS_1).value_or(0) & DF_1_NOW);
    EXPECT_FALSE(library_.dynamicValue(DT_TEXTREL));
}

TEST_F(Hardening, StackIsNotExecutable) {
    const auto stack = library_.segment(PT_GNU_STACK);
    ASSERT_TRUE(stack);
    EXPECT_EQ(stack->p_flags & PF_X, 0U);
}

TEST_F(Hardening, FunctionsWithBuffersCarryStackCanaries) {
    EXPECT_TRUE(library_.importedNames().contains("__stack_chk_fail"));
}

TEST_F(Hardening, LibcCallsAreFortified) {
    const auto names = library_.importedNames();
    EXPECT_TRUE(std::ranges::any_of(names, [](const std::string& name) {
        return name.starts_with("__") && name.ends_with("_chk");
    }));
}

}  // namespace
}  // namespace nimb::test
