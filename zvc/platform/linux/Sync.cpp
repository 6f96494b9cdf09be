#include "zvc/platform/Clock.h"
#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Event.h"
#include "zvc/platform/Semaphore.h"
#include "zvc/platform/linux/Futex.h"

#include <linux/membarrier.h>
#include <type_traits>

namespace zvc::platform {

static_assert(sizeof(CriticalSection) == 16 && std::is_trivially_copyable_v<CriticalSection>);
static_assert(std::is_trivially_copyable_v<Semaphore> && std::is_trivially_copyable_v<Event>);

namespace {

// A full memory barrier on every running thread of the process. False where the kernel has none to offer.
bool ProcessBarrier() noexcept {
    if (syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0) return true;
    if (errno != EPERM) return false;
    return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0 &&
           syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0;
}

}

// Whoever leaves after the barrier sees the count, and whoever left before it is seen to have left. The kernel compares the
// lower half of the owner, which is never 0 in an identity.
void CriticalSection::EnterSlow(uint32_t spins) noexcept {
    for (; spins != 0; --spins) {
        __builtin_ia32_pause();
        if (__atomic_load_n(&m_owner, __ATOMIC_RELAXED) == 0 && TryEnter()) return;
    }
    const int error = errno;
    __atomic_fetch_add(&m_sleepers, 1u, __ATOMIC_SEQ_CST);
    const bool ordered = ProcessBarrier();
    while (!TryEnter()) {
        const uintptr_t owner = __atomic_load_n(&m_owner, __ATOMIC_RELAXED);
        timespec at;
        const timespec* limit = ordered ? nullptr : Deadline(1, at);         // without a barrier a wake-up can get lost
        if (owner != 0) FutexWait(reinterpret_cast<uint32_t*>(&m_owner), static_cast<uint32_t>(owner), limit);
    }
    __atomic_fetch_sub(&m_sleepers, 1u, __ATOMIC_SEQ_CST);
    errno = error;
}

void CriticalSection::WakeOne() noexcept {
    const int error = errno;
    FutexWake(reinterpret_cast<uint32_t*>(&m_owner), 1);
    errno = error;
}

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

void Event::Wake() noexcept {
    if (__atomic_load_n(&m_waiters, __ATOMIC_SEQ_CST) != 0) FutexWake(&m_word);
}

void Event::Set() noexcept {
    uint32_t word = __atomic_load_n(&m_word, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(&m_word, &word, (word | 1) + 2, true, __ATOMIC_SEQ_CST, __ATOMIC_RELAXED)) {}
    Wake();
}

void Event::Reset() noexcept { __atomic_fetch_and(&m_word, ~1u, __ATOMIC_SEQ_CST); }

void Event::Pulse() noexcept {
    uint32_t word = __atomic_load_n(&m_word, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(&m_word, &word, (word & ~1u) + 2, true, __ATOMIC_SEQ_CST, __ATOMIC_RELAXED)) {}
    Wake();
}

bool Event::Wait(uint32_t timeout) noexcept {
    if (timeout == 0) return (__atomic_load_n(&m_word, __ATOMIC_SEQ_CST) & 1) != 0;
    return WaitUntil(timeout == Infinite ? ~uint64_t(0) : ClockTicks() + timeout * uint64_t(1000000));
}

bool Event::WaitUntil(uint64_t ticks) noexcept {
    const uint32_t seen = __atomic_load_n(&m_word, __ATOMIC_SEQ_CST);
    if ((seen & 1) != 0) return true;
    const timespec at{static_cast<time_t>(ticks / 1000000000), static_cast<long>(ticks % 1000000000)};
    const timespec* deadline = ticks == ~uint64_t(0) ? nullptr : &at;
    __atomic_fetch_add(&m_waiters, 1u, __ATOMIC_SEQ_CST);
    bool signalled = false;
    for (bool late = false; !signalled && !late;) {
        late = FutexWait(&m_word, seen, deadline) < 0 && errno == ETIMEDOUT;
        const uint32_t word = __atomic_load_n(&m_word, __ATOMIC_SEQ_CST);
        signalled = (word & 1) != 0 || word >> 1 != seen >> 1;               // also a release that is over already
    }
    __atomic_fetch_sub(&m_waiters, 1u, __ATOMIC_SEQ_CST);
    return signalled;
}

}
