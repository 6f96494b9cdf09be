#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Semaphore.h"
#include "zvc/platform/linux/Futex.h"

namespace zvc::platform {

// The address of a thread's own word is its identity: no system call, and right after a fork as well. The model keeps
// the access away from the loader, which may hold its lock while a worker starts.
static thread_local char t_identity __attribute__((tls_model("initial-exec")));

const void* ThreadIdentity() noexcept { return &t_identity; }

void CriticalSection::EnterSlow() noexcept {
    while (__atomic_exchange_n(&m_word, 2u, __ATOMIC_ACQUIRE) != 0) FutexWait(&m_word, 2);
}

void CriticalSection::LeaveSlow() noexcept { FutexWake(&m_word, 1); }

bool Semaphore::Release(uint32_t n) noexcept {
    uint32_t count = __atomic_load_n(&m_count, __ATOMIC_RELAXED);
    do {
        if (n == 0 || n > m_maximum - count) return false;
    } while (!__atomic_compare_exchange_n(&m_count, &count, count + n, false, __ATOMIC_SEQ_CST, __ATOMIC_RELAXED));
    if (__atomic_load_n(&m_waiters, __ATOMIC_SEQ_CST) != 0) FutexWake(&m_count, n);
    return true;
}

bool Semaphore::Take() noexcept {
    uint32_t count = __atomic_load_n(&m_count, __ATOMIC_SEQ_CST);
    while (count != 0)
        if (__atomic_compare_exchange_n(&m_count, &count, count - 1, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST)) return true;
    return false;
}

bool Semaphore::Wait(uint32_t timeout) noexcept {
    if (Take()) return true;
    if (timeout == 0) return false;
    timespec at;
    const timespec* deadline = Deadline(timeout, at);
    __atomic_fetch_add(&m_waiters, 1u, __ATOMIC_SEQ_CST);
    bool taken = false;
    for (;;) {
        taken = Take();
        if (taken) break;
        if (FutexWait(&m_count, 0, deadline) < 0 && errno == ETIMEDOUT) {
            taken = Take();
            break;
        }
    }
    __atomic_fetch_sub(&m_waiters, 1u, __ATOMIC_SEQ_CST);
    return taken;
}

}
