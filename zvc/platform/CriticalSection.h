#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// A number that is the calling thread's own as long as it lives. It is odd, and the same before and after a fork.
#if !defined(_WIN32)
inline uintptr_t ThreadIdentity() noexcept { return reinterpret_cast<uintptr_t>(__builtin_thread_pointer()) | 1; }
#else
ZV_API uintptr_t ThreadIdentity() noexcept;
#endif

/// A recursive lock for the threads of one process. Required: the thread that holds it may enter again, and leaves as often;
/// what was written before Leave is seen after the next Enter. Sixteen bytes that may be copied as they are; a zeroed one
/// is free, so neither a beginning nor an end is needed. Any thread may use it, also before and after main. Leaving a
/// section that the caller does not hold is not checked. A section must outlive every Leave on it: that a thread could
/// enter does not tell it that the one before has returned from Leave.
///
/// Enter is one atomic exchange and Leave is none: a thread that is going to sleep runs a memory barrier on behalf of all
/// threads of the process instead, between announcing itself and looking at the owner.
struct ZV_API CriticalSection {
    void Enter() noexcept {
        if (!TryEnter()) EnterSlow(DefaultSpins);
    }

    /// The same with a bound of the caller's on the tries before it sleeps.
    void Enter(uint32_t spins) noexcept {
        if (!TryEnter()) EnterSlow(spins);
    }

    /// Never waits: false when another thread is in the section.
    bool TryEnter() noexcept {
        const uintptr_t me = ThreadIdentity();
        uintptr_t owner = __atomic_load_n(&m_owner, __ATOMIC_RELAXED);
        if (owner == me) {
            ++m_depth;
            return true;
        }
        return owner == 0 && __atomic_compare_exchange_n(&m_owner, &owner, me, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED);
    }

    /// Whether the calling thread is in the section.
    bool IsMine() const noexcept { return __atomic_load_n(&m_owner, __ATOMIC_RELAXED) == ThreadIdentity(); }

    void Leave() noexcept {
        if (m_depth != 0) {
            --m_depth;
            return;
        }
        __atomic_store_n(&m_owner, uintptr_t(0), __ATOMIC_RELEASE);
        __atomic_signal_fence(__ATOMIC_SEQ_CST);            // the other half of the sleeper's barrier
        if (__atomic_load_n(&m_sleepers, __ATOMIC_RELAXED) != 0) WakeOne();
    }

private:
    static constexpr uint32_t DefaultSpins = 32;

    void EnterSlow(uint32_t spins) noexcept;
    void WakeOne() noexcept;

    uintptr_t m_owner = 0;
    uint32_t m_depth = 0;                                   // how often the owner entered again; the owner's alone
    uint32_t m_sleepers = 0;                                // threads that sleep or are about to
};

/// Holds a section for a scope.
class SectionLock {
public:
    explicit SectionLock(CriticalSection& section) noexcept : m_section(section) { m_section.Enter(); }
    ~SectionLock() { m_section.Leave(); }
    SectionLock(const SectionLock&) = delete;
    SectionLock& operator=(const SectionLock&) = delete;

private:
    CriticalSection& m_section;
};

}
