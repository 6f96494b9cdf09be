#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/Handle.h"

#include <cstdint>

namespace zvc::platform {

/// Arms a timer on an event, at a resolution of one millisecond; null on failure, and for an event that has a timer already.
/// Required: the event is named by the address of the variable that holds its handle. Periodic: the event is pulsed every so
/// many milliseconds, without drift, for those who began to wait after this call; a pulse for which nobody waits is lost.
/// Otherwise it is set, once: a pulse would be lost on a waiter that comes late. 0 milliseconds count as 1. The time counts from
/// a moment of the monotonic clock.
ZV_API Handle TimerStart(uint32_t milliseconds, bool periodic, Handle* event, uint64_t from = ClockTicks()) noexcept;

/// Disarms a timer, of which nothing runs any more on return. False for a handle that is no timer's.
ZV_API bool TimerStop(Handle timer) noexcept;

/// While one lives, the timers that its thread waits for wake it up as precisely as the system can.
class ZV_API PreciseWaits {
public:
    PreciseWaits() noexcept;
    ~PreciseWaits();
    PreciseWaits(const PreciseWaits&) = delete;
    PreciseWaits& operator=(const PreciseWaits&) = delete;

private:
    int m_before;                 // the thread's own setting
};

}
