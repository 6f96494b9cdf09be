#pragma once

// Futexes on plain words, for this folder's sources.

#include "zvc/platform/Wait.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zvc::platform {

/// Sleeps while word is expected; an absolute monotonic deadline, so that interrupted waits do not drift.
inline long FutexWait(uint32_t* word, uint32_t expected, const timespec* deadline = nullptr) {
    return syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

inline void FutexWake(uint32_t* word, uint32_t count = INT_MAX) {
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count > INT_MAX ? INT_MAX : count, nullptr, nullptr, 0);
}

inline void Advance(timespec& at, uint32_t milliseconds) {
    at.tv_sec += milliseconds / 1000;
    at.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (at.tv_nsec < 1000000000L) return;
    ++at.tv_sec;
    at.tv_nsec -= 1000000000L;
}

/// The deadline that lies milliseconds ahead; null for no limit.
inline const timespec* Deadline(uint32_t milliseconds, timespec& at) {
    if (milliseconds == Infinite) return nullptr;
    clock_gettime(CLOCK_MONOTONIC, &at);
    Advance(at, milliseconds);
    return &at;
}

}
