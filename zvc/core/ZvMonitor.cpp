#include "zvc/core/ZvMonitor.h"

#include <atomic>

struct ZvMonitor::WaitRecord {
    zvc::platform::Semaphore semaphore;           // one token for each grant
    zvc::platform::CriticalSection guard;
    unsigned int waiters = 0;                     // threads inside Wait that no notification has been granted to
    unsigned int granted = 0;                     // notifications that no waiter has taken yet
    std::atomic<bool> keptAsleep{false};          // the lock's owner is a waiter that held it twice
};

ZvMonitor::ZvMonitor() = default;

// The semaphore is plain words and no handle: there is nothing to close. It is meant so that no end of a monitor ever closes one.
ZvMonitor::~ZvMonitor() { delete m_record; }

ZvMonitor::WaitRecord* ZvMonitor::EnsureRecord() {
    zvc::platform::SectionLock lock(m_lock);
    if (m_record == nullptr) std::atomic_ref(m_record).store(new WaitRecord, std::memory_order_release);
    return m_record;
}

// Who waits with the lock kept can be granted by others alone, and they must not wait for the lock then.
ZvMonitor::WaitRecord* ZvMonitor::RecordToGrant() {
    WaitRecord* r = std::atomic_ref(m_record).load(std::memory_order_acquire);
    return r != nullptr && r->keptAsleep.load(std::memory_order_acquire) ? r : EnsureRecord();
}

bool ZvMonitor::Wait(unsigned int timeout) {
    WaitRecord* r = EnsureRecord();
    r->guard.Enter();
    ++r->waiters;
    r->guard.Leave();
    m_lock.Leave();                               // once: a caller that holds the lock twice keeps it during the wait
    const bool kept = m_lock.IsMine();
    if (kept) r->keptAsleep.store(true, std::memory_order_release);

    bool signalled = r->semaphore.Wait(timeout);
    r->guard.Enter();
    while (r->granted == 0) {
        if (!signalled) {
            --r->waiters;
            r->guard.Leave();
            if (kept) r->keptAsleep.store(false, std::memory_order_release);
            m_lock.Enter();
            return false;
        }
        // The token was left by a waiter that ran out of time while it was granted: it stands for nothing any more.
        // The next wait is for the full time again.
        r->guard.Leave();
        signalled = r->semaphore.Wait(timeout);
        r->guard.Enter();
    }
    --r->granted;                                 // a grant that is there beats a time-out
    r->guard.Leave();
    if (kept) r->keptAsleep.store(false, std::memory_order_release);
    m_lock.Enter();
    return true;
}

void ZvMonitor::Grant(bool all) {
    WaitRecord* r = RecordToGrant();
    r->guard.Enter();
    const unsigned int n = all ? r->waiters : (r->waiters != 0 ? 1u : 0u);
    r->granted += n;
    r->waiters -= n;
    r->guard.Leave();
    if (n != 0) r->semaphore.Release(n);
}
