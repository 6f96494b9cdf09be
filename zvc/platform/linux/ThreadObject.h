#pragma once

// The record of a thread, for this folder's sources.

#include "zvc/platform/CriticalSection.h"
#include "zvc/platform/Thread.h"
#include "zvc/platform/linux/Object.h"

#include <csignal>
#include <pthread.h>
#include <sys/types.h>

namespace zvc::platform {

/// What a later layer does on every thread made here, such as giving it a stack for signals. begin runs on the thread
/// before its entry; gone takes what begin made when nothing runs on the thread any more, or on the thread itself as its
/// last act.
struct ThreadHook {
    void* (*begin)();
    void (*gone)(void* made);
};
ZV_HIDDEN void SetThreadHook(const ThreadHook* hook) noexcept;

/// The handle holds one reference, the thread another until it is gone. One real-time signal, with the record as its
/// value, makes the thread look at its control word; it waits there while it is suspended, and ends there when it is
/// killed, by the bare system call: nothing is unwound, and pthread_join still works and frees the stack.
class ZV_HIDDEN ThreadObject final : public Object {
public:
    ThreadObject(ThreadEntry entry, void* argument) noexcept
        : Object(ObjectKind::Thread, 2), m_entry(entry), m_argument(argument) {}
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Thread; }

    bool Start(uint32_t* id) noexcept;
    void Discard() noexcept;
    uint32_t ExitCode() const noexcept;
    bool Kill(uint32_t code) noexcept;
    uint32_t Suspend() noexcept;
    uint32_t Resume() noexcept;
    int Priority() noexcept;
    bool SetPriority(int priority) noexcept;
    WaitResult Wait(uint32_t timeout) noexcept override;
    void OnClose() noexcept override;

    /// In the thread itself: waits while it is suspended, ends it when it is killed.
    void Obey() noexcept;
    bool IsCaller() const noexcept;
    void Signal() noexcept;

private:
    enum State : uint32_t { Running, Ended, Joining, Joined };

    ~ThreadObject() override;
    static void* Main(void* record);
    void End(uint32_t code) noexcept;
    [[noreturn]] void Die() noexcept;
    void Publish(State state) noexcept;
    void Collect() noexcept;
    void Join() noexcept;
    void WaitUntilStill(uint32_t generation) noexcept;
    void ApplyPriority(uint32_t id) noexcept;
    State Now() const noexcept { return static_cast<State>(__atomic_load_n(&m_state, __ATOMIC_ACQUIRE)); }

    uint32_t m_state = Running;               // futex
    uint32_t m_control = 0;                   // futex: count of suspensions, generation of the first of them, kill
    uint32_t m_seen = 0;                      // futex: the generation that the thread has seen last; top bit: it ended
    uint32_t m_id = 0;                        // futex: published by the thread
    uint32_t* m_creatorsId = nullptr;         // where the creator wants it, who waits until it stands there
    uint32_t m_code = ThreadStillActive;
    uint32_t m_killCode = 0;
    int m_priority = ThreadPriorityNormal;
    bool m_killed = false;
    CriticalSection m_section;                // held by whoever signals, and by the thread when it marks its end
    pthread_t m_thread{};
    pid_t m_process = 0;
    const ThreadEntry m_entry;
    void* const m_argument;
    Object* m_abandoned = nullptr;            // what a killed thread was using
    const ThreadHook* m_hook = nullptr;
    void* m_hooked = nullptr;
};

}
