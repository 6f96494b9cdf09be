#include "zvc/platform/Event.h"

#include "zvc/platform/Clock.h"
#include "zvc/platform/linux/EventObject.h"

#include <algorithm>
#include <new>

namespace zvc::platform {

namespace {

constexpr uint64_t Never = ~uint64_t(0);
constexpr uint64_t Millisecond = 1000000;

bool Apply(Handle handle, void (Event::*operation)() noexcept) noexcept {
    Use<EventObject> object(handle);
    if (!object) return false;
    (object->event.*operation)();
    return true;
}

}

bool EventObject::Arm(uint64_t from, uint64_t nanoseconds, bool periodic) noexcept {
    Region region;
    SectionLock lock(m_section);
    if (m_tick != 0) return false;
    m_tick = from + nanoseconds;
    m_interval = nanoseconds;
    m_periodic = periodic;
    return true;
}

void EventObject::Disarm() noexcept {
    Region region;
    SectionLock lock(m_section);
    m_tick = 0;
}

// Those of a periodic timer that fell due while nobody waited are lost; that of another one stays due.
uint64_t EventObject::NextTick() noexcept {
    Region region;
    SectionLock lock(m_section);
    if (m_tick == 0) return Never;
    const uint64_t now = ClockTicks();
    if (m_periodic && m_tick <= now) m_tick += ((now - m_tick) / m_interval + 1) * m_interval;
    return m_tick;
}

// A tick that is due: true for whoever waited for it, false when the timer was disarmed meanwhile.
bool EventObject::TakeTick(uint64_t tick) noexcept {
    Region region;
    SectionLock lock(m_section);
    if (m_tick == 0 || (!m_periodic && m_tick != tick)) return false;
    if (!m_periodic) {
        m_tick = 0;
        event.Set();
    }
    return true;
}

WaitResult EventObject::Wait(uint32_t timeout) noexcept {
    const uint64_t limit = timeout == Infinite ? Never : ClockTicks() + timeout * Millisecond;
    for (;;) {
        const uint64_t tick = NextTick();
        if (event.WaitUntil(std::min(tick, limit))) return WaitResult::Signalled;
        if (tick > limit) return WaitResult::TimedOut;
        if (TakeTick(tick)) return WaitResult::Signalled;
    }
}

Handle EventCreate() noexcept {
    Region region;
    auto* object = new (std::nothrow) EventObject;
    if (object == nullptr) return nullptr;
    const Handle handle = EnterObject(object);
    if (handle == nullptr) object->Release();
    return handle;
}

bool EventSet(Handle handle) noexcept { return Apply(handle, &Event::Set); }
bool EventReset(Handle handle) noexcept { return Apply(handle, &Event::Reset); }
bool EventPulse(Handle handle) noexcept { return Apply(handle, &Event::Pulse); }

}
