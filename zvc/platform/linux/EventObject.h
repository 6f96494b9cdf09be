#pragma once

// The event behind a handle, for this folder's sources.

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Event.h"
#include "zvc/platform/linux/Object.h"

namespace zvc::platform {

/// Keeps the schedule of the timer that is armed on it. Whoever waits for the event wakes up by that schedule himself: a pulse
/// that nobody waits for is lost anyway, and a thread that only brings pulses would come on top of each tick's lateness.
class ZV_HIDDEN EventObject final : public Object {
public:
    EventObject() noexcept : Object(ObjectKind::Event) {}
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Event; }
    WaitResult Wait(uint32_t timeout) noexcept override;

    /// For the waits that begin from now on. One timer at a time: false when there is one.
    bool Arm(uint64_t from, uint64_t nanoseconds, bool periodic) noexcept;
    void Disarm() noexcept;

    Event event;

private:
    ~EventObject() override = default;
    uint64_t NextTick() noexcept;
    bool TakeTick(uint64_t tick) noexcept;

    CriticalSection m_section;                    // guards the schedule
    uint64_t m_tick = 0;                          // a tick of the schedule, on the monotonic clock; 0 without a timer
    uint64_t m_interval = 0;
    bool m_periodic = false;
};

}
