#pragma once

#include "zvc/concurrency/Delegate.h"
#include "zvc/core/ZvDeclare.h"

/// A kernel thread. It is never derived from: what it runs is handed in as a delegate, with or without one object.
///
/// A thin layer without locks: one thread at a time is expected to own the object, and the object must outlive its thread,
/// which reads the delegate and the parameter. Owners see to that by joining. The last Release of a counted thread joins it
/// (OnDispose); a thread object that is destroyed in any other way kills its thread. A routine that throws ends the process.
///
/// What a kill costs (Terminate, or destruction while it runs): nothing is unwound and no destructor runs. Locks that the
/// thread held stay held for ever, the allocator's own among them, what it had allocated stays allocated, and data it was
/// changing stays half changed. Its stack is freed. A kill takes some 50 microseconds, and returns when the thread is gone.
/// Suspend returns when the thread stands still, wherever that is: a thread that stands still inside the allocator or with a
/// lock keeps everybody out who needs it.
class ZV_API ZvThread : public ZvObject {
    ZV_DECLARE_CLASS(ZvThread)
public:
    /// The kernel's priorities. No other value is one.
    static const int PRIORITY_IDLE = -15;
    static const int PRIORITY_LOWEST = -2;
    static const int PRIORITY_BACKGROUND = -1;
    static const int PRIORITY_NORMAL = 0;
    static const int PRIORITY_FOREGROUND = 1;
    static const int PRIORITY_HIGHEST = 2;
    static const int PRIORITY_TIME_CRITICAL = 15;

    /// A thread that runs a copy of routine once it is started. The routine may be gone by then.
    ZvThread(zvc::Delegate<void()>& routine);
    ZvThread(zvc::Delegate<void(ZvObject$&)>& routine);

    /// Copies everything: both delegates target by target, the parameter as a shared reference, and the handle as it is, so
    /// that two objects speak of one thread, and the first to be destroyed kills it if it runs.
    ZvThread(const ZvThread& other);
    ZvThread& operator=(const ZvThread& other);

    /// Kills the thread, with exit code 1, if it still runs.
    ~ZvThread() override;

    /// Starts the routine on a new thread, the second form with parameter, which the object holds to its end. The answer is
    /// the running flag: true when the thread was started. False when the kernel has no thread to give, and then the handle
    /// is null. The form that does not fit the routine starts nothing and keeps nothing, and answers the flag as it stands.
    /// A second start is not refused: another thread begins, and the first one's handle is lost.
    bool Start();
    bool Start(ZvObject$ parameter);

    /// The thread was started and has not ended. It ends with the exit code 0 when its routine returns.
    bool IsAlive();

    /// Stops the thread, or lets it go on when it was resumed as often as suspended. Suspend is true for every living
    /// thread, whatever the kernel answers, and clears the running flag; Resume sets it. Both are false for a thread that
    /// is not alive. Some 50 microseconds each.
    bool Suspend();
    bool Resume();

    /// Kills the thread with exit code 1, if it is alive.
    void Terminate();

    /// Waits for the end of the thread, without limit; returns at once for one that is not alive. Any number of threads may
    /// wait. On return the kernel's thread is gone as well.
    void Join();

    /// The kernel's own answers: the priority as it was set last, 0x7FFFFFFF without a thread; 1 when the value was taken, 0
    /// for one that is no priority and without a thread. How far the scheduler follows depends on the rights of the process;
    /// without the right to raise a priority again the kernel's own figure stays as it is.
    int GetPriority();
    int SetPriority(int priority);

    /// The kernel's number of the thread; 0 before the first start.
    unsigned long GetThreadID();

    /// Gives up the processor for so many milliseconds: 0 once, 0xFFFFFFFF and more for ever.
    static void Sleep(unsigned long milliseconds);

    /// Gives up the processor once.
    static void YieldToAnyThread();

    /// Joins: a counted thread is allowed to finish.
    void OnDispose() override;

private:
    static uint32_t base_start_routine(void* self);
    static uint32_t start_with_parameter(void* self);
    bool Begin(uint32_t (*entry)(void*));

    void* m_handle = nullptr;
    uint32_t m_threadID = 0;
    zvc::Delegate<void()> m_routine;
    zvc::Delegate<void(ZvObject$&)> m_parameterRoutine;
    ZvObject$ m_parameter;
    bool m_running = false;                      // never cleared when the thread ends
};
