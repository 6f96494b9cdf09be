#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

/// A word that is waited for by trying: for sections so short that no call of the kernel is worth it. It must not be held over
/// anything that can block. Not recursive: a thread that locks twice never returns. Any thread may use it; copying copies the
/// word.
class ZV_API ZvSpinLock {
public:
    /// Returns with the lock held. Deliberately no pause, no back-off and no yield between the tries.
    void Lock() noexcept {
        while (!Take())
            while (__atomic_load_n(&m_word, __ATOMIC_RELAXED) != 0) {}       // a try that must fail holds the owner up
    }

    void Unlock() noexcept { __atomic_exchange_n(&m_word, 0u, __ATOMIC_SEQ_CST); }     // a full barrier, as programs expect

private:
    bool Take() noexcept {
        uint32_t free = 0;
        return __atomic_compare_exchange_n(&m_word, &free, 1u, false, __ATOMIC_SEQ_CST, __ATOMIC_RELAXED);
    }

    uint32_t m_word = 0;                         // 0 free, 1 held
};
