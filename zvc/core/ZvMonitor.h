#pragma once

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Semaphore.h"

/// The recursive lock with a condition queue behind an object's Lock and Wait.
///
/// A notification wakes a thread that waits already, and is lost otherwise. No order among waiters is kept: a thread that
/// begins to wait after a notification can take the grant of one that waited before it. So all who wait on one object must wait
/// for the same thing; where a certain one is meant to wake up, it needs an object of its own.
///
/// Inside, the lock is taken before the guard, the guard is never held during a wait, and nobody waits for the lock while
/// holding the guard.
class ZV_API ZvMonitor {
public:
    ZvMonitor();
    virtual ~ZvMonitor();

    /// Copying takes the raw contents. Nothing in the library copies a lock.
    ZvMonitor(const ZvMonitor&) = default;
    ZvMonitor& operator=(const ZvMonitor&) = default;

    void Lock() { m_lock.Enter(); }
    void Unlock() { m_lock.Leave(); }

    /// Leaves the lock once and waits for a notification, then enters the lock again. Call it locked.
    /// True if a notification was taken, false after timeout milliseconds; 0xFFFFFFFF waits without limit.
    bool Wait(unsigned int timeout);

    /// Grant one waiter, or all of them. Neither needs the caller to hold the lock; both enter it for a moment, so that no
    /// notification falls between what a thread looks at and its Wait. A waiter that sleeps with the lock kept is granted without.
    void Notify() { Grant(false); }
    void NotifyAll() { Grant(true); }

private:
    struct WaitRecord;
    WaitRecord* EnsureRecord();
    WaitRecord* RecordToGrant();
    void Grant(bool all);

    WaitRecord* m_record = nullptr;
    zvc::platform::CriticalSection m_lock;
};
