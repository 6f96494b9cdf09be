#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// An address that is the calling thread's own as long as it lives. Never null.
ZV_API const void* ThreadIdentity() noexcept;

/// A recursive lock for the threads of one process: three plain words that may be copied as bytes and need no clean-up.
/// A zeroed one is free. Required: the thread that holds it may enter again, and leaves as often.
struct ZV_API CriticalSection {
    void Enter() noexcept {
        const void* me = ThreadIdentity();
        if (__atomic_load_n(&m_owner, __ATOMIC_RELAXED) == me) {
            ++m_depth;
            return;
        }
        uint32_t expected = 0;
        if (!__atomic_compare_exchange_n(&m_word, &expected, 1u, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) EnterSlow();
        __atomic_store_n(&m_owner, me, __ATOMIC_RELAXED);
        m_depth = 1;
    }

    bool TryEnter() noexcept {
        const void* me = ThreadIdentity();
        if (__atomic_load_n(&m_owner, __ATOMIC_RELAXED) == me) {
            ++m_depth;
            return true;
        }
        uint32_t expected = 0;
        if (!__atomic_compare_exchange_n(&m_word, &expected, 1u, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return false;
        __atomic_store_n(&m_owner, me, __ATOMIC_RELAXED);
        m_depth = 1;
        return true;
    }

    void Leave() noexcept {
        if (--m_depth != 0) return;
        __atomic_store_n(&m_owner, static_cast<const void*>(nullptr), __ATOMIC_RELAXED);
        if (__atomic_exchange_n(&m_word, 0u, __ATOMIC_RELEASE) == 2) LeaveSlow();
    }

private:
    void EnterSlow() noexcept;
    void LeaveSlow() noexcept;

    uint32_t m_word = 0;                 // 0 free, 1 held, 2 held and somebody may wait
    uint32_t m_depth = 0;
    const void* m_owner = nullptr;
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
