#include "failing_allocation.h"

#include <cstdlib>
#include <new>

namespace nimb::test {

long allocationsUntilFailure = -1;

}  // namespace nimb::test

// In a file of their own, lest the compiler inlines one of them without the other.
void* operator new(std::size_t size) {
    if (nimb::test::allocationsUntilFailure < 0 || nimb::test::allocationsUntilFailure-- != 0) {
        if (void* memory = std::malloc(size)) {
            return memory;
        }
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
