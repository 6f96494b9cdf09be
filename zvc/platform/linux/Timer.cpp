#include "zvc/platform/Timer.h"

#include "zvc/platform/Event.h"
#include "zvc/platform/linux/Futex.h"
#include "zvc/platform/linux/Object.h"

#include <csignal>
#include <new>
#include <pthread.h>
#include <sys/prctl.h>

namespace zvc::platform {

namespace {

/// One thread for each armed timer: it takes no descriptor, and the wait for its end is the wait for the last tick.
class TimerObject final : public Object {
public:
    TimerObject(uint32_t milliseconds, bool periodic, Handle* event) noexcept
        : Object(ObjectKind::Timer), m_milliseconds(milliseconds == 0 ? 1 : milliseconds), m_periodic(periodic), m_event(event) {
        clock_gettime(CLOCK_MONOTONIC, &m_at);               // the schedule counts from the call, not from the thread's start
    }
    static bool Is(ObjectKind kind) noexcept { return kind == ObjectKind::Timer; }

    // The host's signals are no business of this thread's.
    bool Start() noexcept {
        sigset_t all, old;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &old);
        m_started = pthread_create(&m_thread, nullptr, &Main, this) == 0;
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
        return m_started;
    }

    void OnClose() noexcept override {
        if (!m_started) return;
        __atomic_store_n(&m_stop, 1u, __ATOMIC_RELEASE);
        FutexWake(&m_stop);
        pthread_join(m_thread, nullptr);
    }

private:
    ~TimerObject() override = default;

    static void* Main(void* timer) noexcept {
        static_cast<TimerObject*>(timer)->Run();
        return nullptr;
    }

    void Run() noexcept {
        prctl(PR_SET_TIMERSLACK, 1);                         // the default of 50 us would come on top of each tick
        do {
            Advance(m_at, m_milliseconds);
            while (!Stopped())
                if (FutexWait(&m_stop, 0, &m_at) < 0 && errno == ETIMEDOUT) break;
            if (Stopped()) return;
            const Handle event = __atomic_load_n(m_event, __ATOMIC_ACQUIRE);
            if (m_periodic) EventPulse(event);
            else EventSet(event);
        } while (m_periodic);
    }

    bool Stopped() noexcept { return __atomic_load_n(&m_stop, __ATOMIC_ACQUIRE) != 0; }

    uint32_t m_stop = 0;                                     // futex
    const uint32_t m_milliseconds;
    const bool m_periodic;
    bool m_started = false;
    Handle* const m_event;
    timespec m_at;                                           // the tick that comes next
    pthread_t m_thread{};
};

}

Handle TimerStart(uint32_t milliseconds, bool periodic, Handle* event) noexcept {
    Region region;
    auto* timer = new (std::nothrow) TimerObject(milliseconds, periodic, event);
    if (timer == nullptr) return nullptr;
    const Handle handle = EnterObject(timer);
    if (handle == nullptr) {
        timer->Release();
    } else if (!timer->Start()) {
        CloseHandle(handle);
        return nullptr;
    }
    return handle;
}

bool TimerStop(Handle handle) noexcept {
    return static_cast<bool>(Use<TimerObject>(handle)) && CloseHandle(handle);
}

}
