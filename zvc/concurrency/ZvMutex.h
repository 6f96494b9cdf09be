#pragma once

#include "zvc/platform/CriticalSection.h"

/// A recursive lock for the threads of one process: the thread that holds it may lock again, and unlocks as often. Any thread
/// may use it. It must outlive every Unlock on it. Copying takes the raw contents; nothing in the library copies a lock.
class ZV_API ZvMutex {
public:
    void Lock() noexcept { m_section.Enter(0); }
    void Unlock() noexcept { m_section.Leave(); }

    /// Non-zero when the lock was taken, 0 when another thread holds it. Never waits.
    int TryLock() noexcept { return m_section.TryEnter() ? 1 : 0; }

private:
    zvc::platform::CriticalSection m_section;
};

/// The same for sections of a few instructions: it tries eight times more before it sleeps, where ZvMutex sleeps at once.
class ZV_API ZvFastMutex {
public:
    void Lock() noexcept { m_section.Enter(SpinCount); }
    void Unlock() noexcept { m_section.Leave(); }

    /// As ZvMutex::TryLock.
    int TryLock() noexcept { return m_section.TryEnter() ? 1 : 0; }

private:
    static constexpr uint32_t SpinCount = 8;
    zvc::platform::CriticalSection m_section;
};
