#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

#include <cstdint>

namespace zvc::platform {

/// What a thread runs. Its result is the thread's exit code. An exception that leaves it ends the process, before any
/// destructor has run.
using ThreadEntry = uint32_t (*)(void* argument);

/// The exit code of a thread that still runs.
constexpr uint32_t ThreadStillActive = 259;

/// The priorities of a thread; no other value is one.
enum ThreadPriorityValue : int {
    ThreadPriorityIdle = -15,
    ThreadPriorityLowest = -2,
    ThreadPriorityBelowNormal = -1,
    ThreadPriorityNormal = 0,
    ThreadPriorityAboveNormal = 1,
    ThreadPriorityHighest = 2,
    ThreadPriorityTimeCritical = 15,
    ThreadPriorityError = 0x7FFFFFFF         ///< what ThreadGetPriority answers for a handle that is no thread's
};

/// Starts a thread with the system's default stack and answers its handle, null on failure. handle, when not null, takes the
/// same, and id, when not null, the thread's number, both before the entry begins, which so finds them; on failure the number
/// is left as it was. Works while the loader holds its lock. The thread goes on when the handle is closed. Waiting for its
/// end with WaitForHandle, and closing the handle after its end, return when the kernel's thread is gone as well, so that
/// the code it ran may be unmapped.
ZV_API Handle ThreadCreate(ThreadEntry entry, void* argument, uint32_t* id, Handle* handle = nullptr) noexcept;

/// Reads the exit code, ThreadStillActive while the thread runs. False for a handle that is no thread's.
ZV_API bool ThreadExitCode(Handle thread, uint32_t* code) noexcept;

/// Ends a thread with an exit code, wherever it is: no destructor runs and what it holds stays held. Returns when the
/// thread is gone; a thread that ends itself does not return. False for one that has ended. A thread that blocks all
/// signals ends when it lets them through again.
ZV_API bool ThreadKill(Handle thread, uint32_t code) noexcept;

/// Stops a thread, or lets it go on when it was resumed as often as suspended. The answer is the count of suspensions before;
/// all ones on failure: a handle that is no thread's, a thread that has ended, 127 suspensions. Suspend returns when the
/// thread stands still.
ZV_API uint32_t ThreadSuspend(Handle thread) noexcept;
ZV_API uint32_t ThreadResume(Handle thread) noexcept;

/// The priority is kept and answered as it was set. Whether the system follows depends on the rights of the process: a
/// thread is never moved where it could not be brought back from. Set answers false for a value that is no priority.
ZV_API int ThreadGetPriority(Handle thread) noexcept;
ZV_API bool ThreadSetPriority(Handle thread, int priority) noexcept;

/// The number of the calling thread.
ZV_API uint32_t CurrentThreadId() noexcept;

/// Gives up the processor for so many milliseconds (0: once; Infinite: for ever).
ZV_API void SleepFor(uint32_t milliseconds) noexcept;

/// Gives up the processor once.
ZV_API void YieldOnce() noexcept;

/// Waits for some tens of nanoseconds without giving up the processor.
#if !defined(_WIN32)
inline void SpinOnce() noexcept { __builtin_ia32_pause(); }
#else
ZV_API void SpinOnce() noexcept;
#endif

}
