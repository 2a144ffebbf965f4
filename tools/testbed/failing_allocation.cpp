#include "testbed/failing_allocation.h"

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace nimb::test {

namespace {

thread_local bool counting = false;
thread_local long left = 0;
std::uintptr_t moduleBegin = 0;
std::uintptr_t moduleEnd = 0;
std::atomic<long> live = 0;
thread_local std::string_view watched;
thread_local long freedWithText = 0;

void look(void* memory) {
    if (watched.empty() || memory == nullptr) return;
    if (memmem(memory, malloc_usable_size(memory), watched.data(), watched.size()) != nullptr) {
        ++freedWithText;
    }
}

void* counted(void* memory) {
    if (memory != nullptr) ++live;
    return memory;
}

/// Whether the allocation under way is the one to fail.
bool failsNow() {
    if (!counting) return false;
    return left-- == 0;
}

[[maybe_unused]] bool failsNow(const void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return counting && address >= moduleBegin && address < moduleEnd && failsNow();
}

int findModule(dl_phdr_info* info, std::size_t /*size*/, void* wanted) {
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& segment = info->dlpi_phdr[i];
        const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
        const auto address = reinterpret_cast<std::uintptr_t>(wanted);
        if (segment.p_type == PT_LOAD && address >= begin && address < begin + segment.p_memsz) {
            moduleBegin = begin;
            moduleEnd = begin + segment.p_memsz;
            return 1;
        }
    }
    return 0;
}

}  // namespace

FailingAllocation::FailingAllocation(long n, const void* module) {
    dl_iterate_phdr(findModule, const_cast<void*>(module));
    left = n;
    counting = true;
}

FailingAllocation::~FailingAllocation() { counting = false; }

bool FailingAllocation::failed() const { return left < 0; }

FreedText::FreedText(std::string_view text) {
    freedWithText = 0;
    watched = text;
}

FreedText::~FreedText() { watched = {}; }

long FreedText::count() const { return freedWithText; }

long liveBlocks() { return live; }

}  // namespace nimb::test

#ifdef __SANITIZE_ADDRESS__

#define NIMB_LIBC(function) function

#else

#define NIMB_LIBC(function) __libc_##function

extern "C" {

// The C library's own names for what is replaced here.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the system's names are reserved

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
    using namespace nimb::test;
    return failsNow(__builtin_return_address(0)) ? nullptr : counted(__libc_malloc(size));
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
    using namespace nimb::test;
    return failsNow(__builtin_return_address(0)) ? nullptr : counted(__libc_calloc(count, size));
}

[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) {
    using namespace nimb::test;
    if (failsNow(__builtin_return_address(0))) return nullptr;
    void* moved = __libc_realloc(memory, size);
    if (memory == nullptr) counted(moved);
    return moved;
}

[[gnu::visibility("default")]] void free(void* memory) {
    if (memory != nullptr) --nimb::test::live;
    nimb::test::look(memory);
    __libc_free(memory);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
}

#endif

void* operator new(std::size_t size) {
    if (!nimb::test::failsNow()) {
        if (void* memory = nimb::test::counted(NIMB_LIBC(malloc)(size))) {
            return memory;
        }
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return nimb::test::failsNow() ? nullptr : nimb::test::counted(NIMB_LIBC(malloc)(size));
}

void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept {
#ifdef __SANITIZE_ADDRESS__
    nimb::test::look(memory);
#endif
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
