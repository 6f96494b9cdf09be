#include "zvc/platform/Memory.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

namespace zvc::platform {

namespace {

constexpr size_t SmallPage = 4096;
constexpr size_t LargePage = size_t(2) << 20;

size_t WholePages(size_t size) { return (size + LargePage - 1) & ~(LargePage - 1); }

}

// Large pages need an aligned block: one page more than wanted is mapped, and what is over goes back.
void* LargeAllocate(size_t size) noexcept {
    if (size < LargePage) return std::malloc(size);
    if (size > ~size_t(0) - 2 * LargePage) return nullptr;
    const size_t whole = WholePages(size);
    void* const mapped = mmap(nullptr, whole + LargePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    const auto begin = reinterpret_cast<uintptr_t>(mapped);
    const uintptr_t aligned = WholePages(begin);
    auto* const memory = static_cast<char*>(mapped) + (aligned - begin);
    if (aligned != begin) munmap(mapped, aligned - begin);
    if (const size_t over = begin + LargePage - aligned) munmap(memory + whole, over);
    madvise(memory, whole, MADV_HUGEPAGE);        // a kernel without them serves as well
    return memory;
}

// All of it, to the ends of its small pages: an allocator that mapped the block can move it as one only if it is alike throughout.
void PreferLargePages(void* memory, size_t size) noexcept {
    if (size < 2 * LargePage) return;
    const auto begin = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t first = begin & ~(SmallPage - 1);
    const uintptr_t end = (begin + size + SmallPage - 1) & ~(SmallPage - 1);
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

void LargeFree(void* memory, size_t size) noexcept {
    if (size < LargePage)
        std::free(memory);
    else if (memory != nullptr)
        munmap(memory, WholePages(size));
}

}
