#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Wait.h"

#include <cstdint>

namespace zvc::platform {

/// A counting semaphore for the threads of one process. Required: released by any count in one step; waits with a time-out.
/// Plain words that may be copied as bytes, without a descriptor and without clean-up. Any thread may use it.
struct ZV_API Semaphore {
    constexpr Semaphore() noexcept = default;
    constexpr Semaphore(uint32_t initial, uint32_t maximum) noexcept : m_count(initial), m_maximum(maximum) {}

    /// Adds n tokens; false, and nothing happens, for 0 and beyond the maximum. Wakes as many waiters.
    bool Release(uint32_t n) noexcept;

    /// Takes a token; false when none came within timeout milliseconds. Infinite waits without limit.
    bool Wait(uint32_t timeout) noexcept;

private:
    bool Take() noexcept;
    uint32_t m_count = 0;
    uint32_t m_waiters = 0;
    uint32_t m_maximum = 0x7FFFFFFF;
};

}
