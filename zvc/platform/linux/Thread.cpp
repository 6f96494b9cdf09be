#include "zvc/platform/Thread.h"

#include "zvc/platform/linux/Futex.h"
#include "zvc/platform/linux/ThreadObject.h"
#include "zvc/platform/linux/ThreadStop.h"

#include <limits>
#include <linux/capability.h>
#include <new>
#include <sched.h>
#include <sys/resource.h>

namespace zvc::platform {

__thread ThreadLocal t_local __attribute__((tls_model("initial-exec")));

namespace {

constexpr uint32_t KillBit = 0x80000000;
constexpr uint32_t CountMask = 0xFF;
constexpr uint32_t MaximumSuspensions = 127;
constexpr uint32_t GenerationShift = 8;
constexpr uint32_t GenerationMask = 0x7FFFFF;
constexpr uint32_t EndedBit = 0x80000000;
constexpr uint32_t Failed = ~0u;

CriticalSection s_handlerSection;
bool s_installed = false;
struct sigaction s_previous;
const ThreadHook* s_hook = nullptr;
bool s_nicenessUsed = false;

int ControlSignal() noexcept { return SIGRTMIN + 6; }

uint32_t GenerationOf(uint32_t control) noexcept { return (control >> GenerationShift) & GenerationMask; }

// The signal can be somebody else's, and a thread's number can come again: both are looked at before the record is believed.
void OnControlSignal(int, siginfo_t* info, void*) {
    if (info->si_code != SI_QUEUE || info->si_pid != getpid() || info->si_value.sival_ptr == nullptr) return;
    auto* thread = static_cast<ThreadObject*>(info->si_value.sival_ptr);
    if (!thread->IsCaller()) return;
    if (t_local.depth != 0) {
        t_local.pending = thread;
        return;
    }
    const int error = errno;
    thread->Obey();
    errno = error;
}

void InstallHandler() noexcept {
    SectionLock lock(s_handlerSection);
    if (s_installed) return;
    struct sigaction action {};
    action.sa_sigaction = OnControlSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    sigdelset(&action.sa_mask, StopSignal());             // a suspended thread still shows its registers when the process crashes
    s_installed = sigaction(ControlSignal(), &action, &s_previous) == 0;
}

// After the library's static destructors, which may still wait for threads: the handler's code can be unmapped next.
__attribute__((destructor(101))) void RestoreHandler() noexcept {
    SectionLock lock(s_handlerSection);
    struct sigaction current {};
    if (!s_installed || sigaction(ControlSignal(), nullptr, &current) != 0) return;
    if ((current.sa_flags & SA_SIGINFO) != 0 && current.sa_sigaction == OnControlSignal) sigaction(ControlSignal(), &s_previous, nullptr);
    s_installed = false;
}

// True when a thread that was made less urgent can be brought back.
bool MayRaisePriority() noexcept {
    rlimit limit;
    if (getrlimit(RLIMIT_NICE, &limit) == 0 && limit.rlim_cur >= 20) return true;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    return syscall(SYS_capget, &header, data) == 0 && (data[0].effective & (1u << CAP_SYS_NICE)) != 0;
}

// How much less urgent than the process's own threads; no real-time class, which could keep the system itself out.
bool NicenessOf(int priority, int& niceness) noexcept {
    switch (priority) {
        case ThreadPriorityIdle: niceness = 10; return true;
        case ThreadPriorityLowest: niceness = 5; return true;
        case ThreadPriorityBelowNormal: niceness = 2; return true;
        case ThreadPriorityNormal: niceness = 0; return true;
        case ThreadPriorityAboveNormal: niceness = -2; return true;
        case ThreadPriorityHighest: niceness = -5; return true;
        case ThreadPriorityTimeCritical: niceness = -10; return true;
        default: return false;
    }
}

// The next thread may be given this one's stack, and would find there what this one kept under the keys of the process.
void ForgetSpecificData() noexcept {
    for (pthread_key_t key = 0; key != PTHREAD_KEYS_MAX; ++key)
        if (pthread_getspecific(key) != nullptr) pthread_setspecific(key, nullptr);
}

}

void SetThreadHook(const ThreadHook* hook) noexcept { __atomic_store_n(&s_hook, hook, __ATOMIC_RELEASE); }

// The signal again, now that the thread can follow it: to oneself it arrives before the call returns.
void CatchUp() noexcept {
    ThreadObject* thread = __atomic_exchange_n(&t_local.pending, nullptr, __ATOMIC_RELAXED);
    if (thread != nullptr) thread->Signal();
}

bool ThreadObject::IsCaller() const noexcept { return CurrentThreadId() == __atomic_load_n(&m_id, __ATOMIC_ACQUIRE); }

void ThreadObject::Signal() noexcept {
    sigval value{};
    value.sival_ptr = this;
    pthread_sigqueue(m_thread, ControlSignal(), value);
}

bool ThreadObject::Start(uint32_t* id) noexcept {
    InstallHandler();
    m_creatorsId = id;
    m_process = getpid();
    if (pthread_create(&m_thread, nullptr, &Main, this) != 0) return false;
    while (__atomic_load_n(&m_id, __ATOMIC_ACQUIRE) == 0) FutexWait(&m_id, 0);
    return true;
}

// For a thread that could not be started: nobody has to be waited for.
void ThreadObject::Discard() noexcept {
    m_state = Joined;
    Release();
}

// Ends by returning: pthread_exit would load a library, and wait for the loader's lock when this one is being unloaded.
// Not noexcept: the search for a handler must find none, so that the process ends with the stack as it was at the throw.
void* ThreadObject::Main(void* record) {
    auto* self = static_cast<ThreadObject*>(record);
    sigset_t control;
    sigemptyset(&control);
    sigaddset(&control, ControlSignal());
    pthread_sigmask(SIG_UNBLOCK, &control, nullptr);
    const uint32_t id = CurrentThreadId();
    if (__atomic_load_n(&s_nicenessUsed, __ATOMIC_RELAXED)) self->ApplyPriority(id);   // the creator's was inherited
    if (self->m_creatorsId != nullptr) *self->m_creatorsId = id;
    __atomic_store_n(&self->m_id, id, __ATOMIC_RELEASE);
    FutexWake(&self->m_id);
    self->m_hook = __atomic_load_n(&s_hook, __ATOMIC_ACQUIRE);
    if (self->m_hook != nullptr) self->m_hooked = self->m_hook->begin();
    self->End(self->m_entry(self->m_argument));
    return nullptr;
}

// No signal comes after this one is blocked, and nobody sends one after the end is marked. Told to stop before that, the
// thread still stops, or ends as it was told.
void ThreadObject::End(uint32_t code) noexcept {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    for (;;) {
        Obey();
        SectionLock lock(m_section);
        if ((m_control & (KillBit | CountMask)) != 0) continue;
        m_code = code;
        Publish(Ended);
        break;
    }
    Release();
}

void ThreadObject::Publish(State state) noexcept {
    if (state == Ended) {
        __atomic_fetch_or(&m_seen, EndedBit, __ATOMIC_RELEASE);
        FutexWake(&m_seen);
    }
    // Last: whoever sees it may take the record away.
    __atomic_store_n(&m_state, static_cast<uint32_t>(state), __ATOMIC_RELEASE);
    FutexWake(&m_state);
}

void ThreadObject::Obey() noexcept {
    for (;;) {
        const uint32_t control = __atomic_load_n(&m_control, __ATOMIC_ACQUIRE);
        if ((control & KillBit) != 0) Die();
        const uint32_t generation = GenerationOf(control);
        if (__atomic_exchange_n(&m_seen, generation, __ATOMIC_ACQ_REL) != generation) FutexWake(&m_seen);
        if ((control & CountMask) == 0) return;
        FutexWait(&m_control, control);
    }
}

void ThreadObject::Die() noexcept {
    ForgetSpecificData();
    m_code = m_killCode;
    m_abandoned = t_local.inUse;
    m_killed = true;
    Publish(Ended);
    for (;;) syscall(SYS_exit, 0);
}

uint32_t ThreadObject::ExitCode() const noexcept { return Now() == Running ? ThreadStillActive : m_code; }

bool ThreadObject::Kill(uint32_t code) noexcept {
    if (m_process != getpid()) return false;                  // after a fork: it does not exist here
    const bool self = IsCaller();
    {
        Region region;
        SectionLock lock(m_section);
        if (Now() != Running) return false;
        InstallHandler();
        if ((m_control & KillBit) == 0) {
            m_killCode = code;
            __atomic_fetch_or(&m_control, KillBit, __ATOMIC_RELEASE);
            FutexWake(&m_control);
            Signal();
        }
    }
    while (self) pause();                               // the signal has come already, unless it is blocked
    Wait(Infinite);
    return true;
}

uint32_t ThreadObject::Suspend() noexcept {
    if (m_process != getpid()) return Failed;
    uint32_t control;
    {
        Region region;
        SectionLock lock(m_section);
        control = m_control;
        if (Now() != Running || (control & KillBit) != 0 || (control & CountMask) >= MaximumSuspensions) return Failed;
        ++control;
        if ((control & CountMask) == 1) {
            const uint32_t generation = (GenerationOf(control) + 1) & GenerationMask;
            control = generation << GenerationShift | 1;
        }
        __atomic_store_n(&m_control, control, __ATOMIC_RELEASE);
        if ((control & CountMask) == 1) {
            InstallHandler();
            Signal();
        }
    }
    if (!IsCaller()) WaitUntilStill(GenerationOf(control));
    return (control & CountMask) - 1;
}

// With no lock held: two threads may suspend each other, and whoever resumes one of them needs its lock.
void ThreadObject::WaitUntilStill(uint32_t generation) noexcept {
    for (;;) {
        const uint32_t seen = __atomic_load_n(&m_seen, __ATOMIC_ACQUIRE);
        if ((seen & EndedBit) != 0 || ((seen - generation) & GenerationMask) <= GenerationMask / 2) return;
        FutexWait(&m_seen, seen);
    }
}

uint32_t ThreadObject::Resume() noexcept {
    if (m_process != getpid()) return Failed;
    Region region;
    SectionLock lock(m_section);
    const uint32_t count = m_control & CountMask;
    if (Now() != Running) return Failed;
    if (count != 0) {
        __atomic_store_n(&m_control, m_control - 1, __ATOMIC_RELEASE);
        FutexWake(&m_control);
    }
    return count;
}

WaitResult ThreadObject::Wait(uint32_t timeout) noexcept {
    if (m_process != getpid()) return WaitResult::Signalled;  // after a fork: it does not exist here
    if (Now() == Running && IsCaller()) return WaitResult::Failed;     // exit on a worker: the destructors must not wait for it
    timespec at;
    const timespec* deadline = Now() == Running && timeout != 0 ? Deadline(timeout, at) : nullptr;
    while (Now() == Running) {
        if (timeout == 0) return WaitResult::TimedOut;
        if (FutexWait(&m_state, Running, deadline) < 0 && errno == ETIMEDOUT && Now() == Running) return WaitResult::TimedOut;
    }
    Collect();
    return WaitResult::Signalled;
}

// The first to come joins, the others wait for it. A killed thread could not give back what it held: its own reference and
// the one on the object that it was using.
void ThreadObject::Collect() noexcept {
    Region region;
    uint32_t ended = Ended;
    if (!__atomic_compare_exchange_n(&m_state, &ended, uint32_t(Joining), false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
        while (Now() == Joining) FutexWait(&m_state, Joining);
        return;
    }
    Join();
    Object* const abandoned = m_abandoned;
    const bool killed = m_killed;
    Publish(Joined);
    if (abandoned != nullptr) abandoned->Release();
    if (killed) Release();
}

// The thread sanitizer keeps a record of each thread that only an orderly end closes: joining a killed one would never end.
void ThreadObject::Join() noexcept {
#ifdef __SANITIZE_THREAD__
    if (m_killed) {
        pthread_detach(m_thread);
        return;
    }
#endif
    pthread_join(m_thread, nullptr);
}

void ThreadObject::OnClose() noexcept {
    if (m_process == getpid() && Now() != Running) Collect();
}

// The last reference goes with the thread itself when its handle was closed before its end; then the stack is the
// system's to free.
ThreadObject::~ThreadObject() {
    if (m_process == getpid() && Now() == Ended) {
        if (pthread_equal(m_thread, pthread_self())) pthread_detach(m_thread);
        else Join();
    }
    if (m_hooked != nullptr) m_hook->gone(m_hooked);
}

int ThreadObject::Priority() noexcept {
    SectionLock lock(m_section);
    return m_priority;
}

bool ThreadObject::SetPriority(int priority) noexcept {
    int niceness = 0;
    if (!NicenessOf(priority, niceness)) return false;
    Region region;
    SectionLock lock(m_section);
    m_priority = priority;
    __atomic_store_n(&s_nicenessUsed, true, __ATOMIC_RELAXED);
    if (Now() == Running && m_process == getpid()) ApplyPriority(m_id);
    return true;
}

void ThreadObject::ApplyPriority(uint32_t id) noexcept {
    int niceness = 0;
    if (!NicenessOf(m_priority, niceness) || !MayRaisePriority()) return;
    const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    setpriority(PRIO_PROCESS, id, own + niceness);
}

Handle ThreadCreate(ThreadEntry entry, void* argument, uint32_t* id, Handle* handle) noexcept {
    Region region;
    Handle own;
    if (handle == nullptr) handle = &own;
    *handle = nullptr;
    auto* thread = new (std::nothrow) ThreadObject(entry, argument);
    if (thread == nullptr) return nullptr;
    const Handle made = EnterObject(thread);
    *handle = made;
    if (made != nullptr && thread->Start(id)) return made;
    *handle = nullptr;
    thread->Discard();
    if (made == nullptr) thread->Release();
    else CloseHandle(made);
    return nullptr;
}

bool ThreadExitCode(Handle handle, uint32_t* code) noexcept {
    Use<ThreadObject> thread(handle);
    if (thread) *code = thread->ExitCode();
    return static_cast<bool>(thread);
}

bool ThreadKill(Handle handle, uint32_t code) noexcept {
    Use<ThreadObject> thread(handle);
    return thread && thread->Kill(code);
}

uint32_t ThreadSuspend(Handle handle) noexcept {
    Use<ThreadObject> thread(handle);
    return thread ? thread->Suspend() : Failed;
}

uint32_t ThreadResume(Handle handle) noexcept {
    Use<ThreadObject> thread(handle);
    return thread ? thread->Resume() : Failed;
}

int ThreadGetPriority(Handle handle) noexcept {
    Use<ThreadObject> thread(handle);
    return thread ? thread->Priority() : static_cast<int>(ThreadPriorityError);
}

bool ThreadSetPriority(Handle handle, int priority) noexcept {
    Use<ThreadObject> thread(handle);
    return thread && thread->SetPriority(priority);
}

uint32_t CurrentThreadId() noexcept { return static_cast<uint32_t>(syscall(SYS_gettid)); }

void SleepFor(uint32_t milliseconds) noexcept {
    if (milliseconds == 0) return YieldOnce();
    timespec at{std::numeric_limits<time_t>::max(), 0};
    Deadline(milliseconds, at);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {}
}

void YieldOnce() noexcept { sched_yield(); }

}
