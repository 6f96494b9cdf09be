#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// The lowest usable address of the calling thread's stack: of the main thread's as far as it may grow, of any other's
/// above its guard. Found at the thread's first call and kept.
ZV_API uintptr_t StackLowest() noexcept;

/// The address below which the calling thread's stack should not grow any more: its lowest usable address and a reserve
/// for what is still to be called (64 KiB, or a quarter of a small stack).
ZV_API uintptr_t StackLimit() noexcept;

/// True when the caller stands in the reserve at the end of its thread's stack. Any thread, any stack size. Of a stack that
/// the program has made and switched to nothing is known: there the answer is false.
inline bool StackIsLow() noexcept {
    const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    return here < StackLimit() && here >= StackLowest();
}

}
