#pragma once

#include "zvc/concurrency/Delegate.h"
#include "zvc/core/ZvDeclare.h"

#include <atomic>

/// A timer loop that sits on its caller's thread: Run returns when the loop is over.
///
/// Run has two stages. The delay stage, left out for a delay of 0, waits once for the delay. The periodic stage, left out
/// for a period of 0, calls the tick delegate every *delay* milliseconds: the interval is the first value and not the second,
/// which only decides whether there is a periodic stage. A timer made with (0, 1000) ticks as often as the system can, which
/// is every millisecond. Ticks come on a fixed schedule, without drift; one that falls due while the delegate still runs is
/// left out.
class ZV_API ZvTimer : public ZvObject {
    ZV_DECLARE_CLASS(ZvTimer)
public:
    /// Both in milliseconds, taken as they are.
    ZvTimer(unsigned int delay = 0, unsigned int period = 1000);

    /// Copies the values and the delegate, target by target.
    ZvTimer(const ZvTimer& other);
    ZvTimer& operator=(const ZvTimer& other);
    ~ZvTimer() override;

    /// Clears the stop flag and runs both stages on the calling thread. Where the system has no timer to give, the stage is
    /// left out. Can be run again.
    virtual void Run();

    /// Has Run return once it has served the next tick; it does not wake it. Without effect in the delay stage and before
    /// Run, whose beginning clears the flag. Any thread, a tick among them.
    void Stop();

    /// Replaces both values, for the next stage that begins.
    void SetScedule(unsigned int delay, unsigned int period);

    /// What is called at each tick; set it before Run.
    zvc::Delegate<void()>& Tick() { return m_tick; }

private:
    std::atomic<bool> m_stop{false};
    unsigned int m_delay;
    unsigned int m_period;
    zvc::Delegate<void()> m_tick;
};
