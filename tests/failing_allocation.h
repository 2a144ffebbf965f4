#pragma once

namespace nimb::test {

/// Counts down with each `new` of the program that links failing_allocation.cpp to the one that
/// throws std::bad_alloc; none does while it is negative.
extern long allocationsUntilFailure;

}  // namespace nimb::test
