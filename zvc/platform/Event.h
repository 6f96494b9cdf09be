#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

#include <cstdint>

namespace zvc::platform {

/// A manual-reset event for the threads of one process: plain words that may be copied as bytes, without a descriptor and
/// without clean-up. A zeroed one is not signalled. Any thread may use it.
struct ZV_API Event {
    /// Signals the event and releases all who wait. It stays signalled until Reset.
    void Set() noexcept;
    void Reset() noexcept;

    /// Releases all who wait at this moment and leaves the event not signalled. Nobody waiting: it is lost.
    void Pulse() noexcept;

    /// False when the event was not signalled within timeout milliseconds. Infinite waits without limit.
    bool Wait(uint32_t timeout) noexcept;

    /// The same until the monotonic clock (ClockTicks) shows a number of ticks; all ones waits without limit.
    bool WaitUntil(uint64_t ticks) noexcept;

private:
    void Wake() noexcept;

    uint32_t m_word = 0;          // bit 0: signalled; the rest counts releases, so that a waiter sees one that is over already
    uint32_t m_waiters = 0;
};

/// A manual-reset event behind a handle, not signalled; null on failure. WaitForHandle waits for it.
ZV_API Handle EventCreate() noexcept;

/// As the operations of Event; false for a handle that is not an open event.
ZV_API bool EventSet(Handle handle) noexcept;
ZV_API bool EventReset(Handle handle) noexcept;
ZV_API bool EventPulse(Handle handle) noexcept;

}
