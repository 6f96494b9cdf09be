#pragma once

// Raw memory of elements, and how elements out of a stream come into it: what arrays and vectors share. Internal; not for
// clients.

#include "zvc/core/ZvSystem.h"
#include "zvc/platform/Memory.h"
#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvConversion.h"

#include <cstring>
#include <type_traits>

namespace zvc::detail {

template <class T>
size_t BytesOf(unsigned long long count) {
    constexpr size_t everything = ~size_t(0);
    return count > everything / sizeof(T) ? everything : static_cast<size_t>(count) * sizeof(T);
}

/// Memory for count elements, indeterminate, to be given back with ZvSystem::Free. A size that overflows is asked for as
/// all ones, so that the allocator refuses it. Raises as ZvSystem::Malloc does.
template <class T>
T* AllocateElements(unsigned long long count) {
    void* const memory = ZvSystem::Malloc(BytesOf<T>(count));
    platform::PreferLargePages(memory, BytesOf<T>(count));
    return static_cast<T*>(memory);
}

/// The same memory for more elements, moved as bytes where it must move: large blocks are not copied for it.
template <class T>
T* ReallocateElements(T* elements, unsigned long long count) {
    void* const memory = ZvSystem::Realloc(static_cast<void*>(elements), BytesOf<T>(count));
    platform::PreferLargePages(memory, BytesOf<T>(count));
    return static_cast<T*>(memory);
}

/// Moves elements as bytes; handles move like that, too.
template <class T>
void CopyElements(T* target, const T* source, unsigned long long count) {
    if (count != 0) std::memcpy(static_cast<void*>(target), static_cast<const void*>(source), count * sizeof(T));
}

template <class T>
void ClearElements(T* target, unsigned long long count) {
    if (count != 0) std::memset(static_cast<void*>(target), 0, count * sizeof(T));
}

/// The least that one element takes in a stream, in bytes: floating-point scalars are raw, integers a tag and a byte or
/// more, a bool and a null reference a tag.
template <class T>
inline constexpr size_t LeastStreamBytes =
    std::is_floating_point_v<typename Shape<T>::Scalar> ? sizeof(T)
    : std::is_integral_v<typename Shape<T>::Scalar> && !std::is_same_v<T, bool> ? 2 * static_cast<size_t>(Shape<T>::count)
                                                                                : 1;

}
