#include "zvc/concurrency/ZvTimer.h"

#include "zvc/core/ZvObject.h"
#include "zvc/platform/Clock.h"
#include "zvc/platform/Event.h"
#include "zvc/platform/Timer.h"

using namespace zvc::platform;

ZV_DEFINE_CLASS(ZvTimer, (ZvObject))

namespace {

/// A timer of the system's and the event that it pulses, for the time of one stage. The timer is given the address of the
/// variable that holds the event, so this must not move.
class ArmedTimer {
public:
    ArmedTimer(unsigned int milliseconds, bool periodic) : m_begun(ClockTicks()), m_event(EventCreate()) {
        if (m_event != nullptr) m_timer = TimerStart(milliseconds, periodic, &m_event, m_begun);
    }
    ~ArmedTimer() {
        TimerStop(m_timer);
        CloseHandle(m_event);
    }
    ArmedTimer(const ArmedTimer&) = delete;
    ArmedTimer& operator=(const ArmedTimer&) = delete;

    explicit operator bool() const { return m_timer != nullptr; }
    void WaitForTick() { WaitForHandle(m_event, Infinite); }

private:
    const uint64_t m_begun;                               // the schedule counts from here: what comes next takes its time
    Handle m_event;
    Handle m_timer = nullptr;
};

}

ZvTimer::ZvTimer(unsigned int delay, unsigned int period) : m_delay(delay), m_period(period) {}

ZvTimer::ZvTimer(const ZvTimer& other)
    : ZvObject(other), m_stop(other.m_stop.load()), m_delay(other.m_delay), m_period(other.m_period), m_tick(other.m_tick) {}

ZvTimer& ZvTimer::operator=(const ZvTimer& other) {
    m_stop = other.m_stop.load();
    m_delay = other.m_delay;
    m_period = other.m_period;
    m_tick = other.m_tick;
    return *this;
}

ZvTimer::~ZvTimer() = default;

void ZvTimer::Run() {
    m_stop = false;
    const PreciseWaits precise;
    if (m_delay != 0) {
        ArmedTimer timer(m_delay, false);
        if (timer) timer.WaitForTick();                   // deliberately deaf to Stop
    }
    if (m_period == 0) return;
    ArmedTimer timer(m_delay, true);                      // meant so: the interval is the delay
    while (timer && !m_stop) {
        timer.WaitForTick();
        if (m_tick) m_tick();
    }
}

void ZvTimer::Stop() {
    ZvLock lock(this);
    m_stop = true;
}

void ZvTimer::SetScedule(unsigned int delay, unsigned int period) {
    m_delay = delay;
    m_period = period;
}
