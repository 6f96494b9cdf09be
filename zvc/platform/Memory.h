#pragma once

#include "zvc/platform/Api.h"

#include <cstddef>
#include <new>

namespace zvc::platform {

/// Memory for a large table that is used all over: in large pages where the system has them, so that neither filling it
/// page by page nor looking up its addresses takes longer than its use. The content is undefined. Null on exhaustion.
ZV_API void* LargeAllocate(size_t size) noexcept;

/// Gives such memory back; size is what was asked for. Null is fine.
ZV_API void LargeFree(void* memory, size_t size) noexcept;

/// Large pages, where the system has them, for a block of any allocator. A wish: it changes no content and never fails. Blocks
/// below a few megabytes stay as they are.
ZV_API void PreferLargePages(void* memory, size_t size) noexcept;

/// The allocator of a container whose memory is such a table once it is large.
template <class T>
struct LargeAllocator {
    using value_type = T;
    LargeAllocator() = default;
    template <class U>
    LargeAllocator(const LargeAllocator<U>&) {}
    T* allocate(size_t count) {
        void* const memory = count <= ~size_t(0) / sizeof(T) ? LargeAllocate(count * sizeof(T)) : nullptr;
        if (memory == nullptr) throw std::bad_alloc();
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, size_t count) { LargeFree(memory, count * sizeof(T)); }
    friend bool operator==(LargeAllocator, LargeAllocator) { return true; }
};

}
