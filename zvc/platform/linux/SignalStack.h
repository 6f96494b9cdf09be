#pragma once

// Stacks for signals to run on when a thread's own is used up.

#include "zvc/platform/Api.h"

#include <csignal>

namespace zvc::platform {

/// A stack with a page before it that cannot be touched; null when there is no memory.
ZV_HIDDEN void* MakeSignalStack() noexcept;
ZV_HIDDEN void FreeSignalStack(void* made) noexcept;

/// What sigaltstack wants to know of it.
ZV_HIDDEN stack_t DescribeSignalStack(void* made) noexcept;

/// Gives the calling thread one if it has none yet; null when it has, or when there is no memory.
ZV_HIDDEN void* TakeSignalStack() noexcept;

}
