#pragma once

#include <cstddef>
#include <string_view>

namespace nimb::test {

/// Makes one of the library's allocations fail, in the program that links failing_allocation.cpp.
/// Every `new` of the thread counts, and of malloc and its kin those called from one module: the
/// stack's own stay out. Under the address sanitizer, which keeps malloc to itself, `new` alone
/// counts.
class FailingAllocation {
  public:
    /// @param n       0 for the first allocation from now on
    /// @param module  an address in the module that counts
    FailingAllocation(long n, const void* module);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /// Whether it came to that allocation.
    [[nodiscard]] bool failed() const;
};

/// Blocks of memory that the process holds; without meaning under the address sanitizer, which
/// looks for leaks by itself.
[[nodiscard]] long liveBlocks();

/// While it lives, counts the blocks that are freed with this text still in them.
class FreedText {
  public:
    /// @param text  must outlive this object, in no block that is freed before
    explicit FreedText(std::string_view text);
    ~FreedText();
    FreedText(const FreedText&) = delete;
    FreedText& operator=(const FreedText&) = delete;

    [[nodiscard]] long count() const;
};

}  // namespace nimb::test
