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
        uint32_t expected = 0;
        while (!__atomic_compare_exchange_n(&m_word, &expected, 1u, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST)) expected = 0;
    }

    void Unlock() noexcept { __atomic_exchange_n(&m_word, 0u, __ATOMIC_SEQ_CST); }

private:
    uint32_t m_word = 0;                         // 0 free, 1 held
};
