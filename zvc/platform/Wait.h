#pragma once

#include <cstdint>

namespace zvc::platform {

/// A time-out in milliseconds that never runs out.
constexpr uint32_t Infinite = 0xFFFFFFFF;

/// How a wait with a time-out ended.
enum class WaitResult : uint32_t {
    Signalled = 0,            ///< what was waited for has happened
    TimedOut = 0x102,         ///< the time ran out first
    Failed = 0xFFFFFFFF       ///< there is nothing to wait for: a handle that is not open, a thread that waits for itself
};

}
