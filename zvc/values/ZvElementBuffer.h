#pragma once

// Raw memory of elements, and how elements out of a stream come into it: what arrays and vectors share. Internal; not for
// clients.

#include "zvc/core/ZvSystem.h"
#include "zvc/serialization/ZvRun.h"
#include "zvc/values/ZvConversion.h"

#include <cstring>
#include <type_traits>

namespace zvc::detail {

/// Memory for count elements, indeterminate, to be given back with ZvSystem::Free. A size that overflows is asked for as
/// all ones, so that the allocator refuses it. Raises as ZvSystem::Malloc does.
template <class T>
T* AllocateElements(unsigned long long count) {
    constexpr size_t everything = ~size_t(0);
    const size_t bytes = count > everything / sizeof(T) ? everything : static_cast<size_t>(count) * sizeof(T);
    return static_cast<T*>(ZvSystem::Malloc(bytes));
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

/// Reads the next count elements of a run into memory that holds none yet; count is what RoomFor granted behind arrived
/// elements. Handles must be null before. done counts what has come, also when the coder raises.
///
/// A coder of somebody else may leave an element alone: it is zero then. Beyond a first step so much is granted only
/// where the stream surely holds it; such a run is not cleared first, for it is the one that takes time.
template <class T>
void ReadStep(ZvStream$& stream, ZvCoder* coder, T* target, size_t arrived, size_t count, size_t& done) {
    constexpr size_t FirstStep = 64 * 1024 + 1;
    if (arrived != 0 || count <= FirstStep) ClearElements(target, count);
    ReadRun(stream, coder, target, count, done);
}

}
