#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

constexpr uint32_t Infinite = 0xFFFFFFFF;

/// A counting semaphore within one process: plain words, no descriptor, no clean-up.
struct ZV_API Semaphore {
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
