#pragma once

// Brings all other threads of the process to a stand, so that the handler of a fault can look at them. One real-time
// signal does it, in whose handler each thread leaves its registers and waits. No allocation and no lock.

#include "zvc/platform/linux/CoreFile.h"

namespace zvc::platform {

/// The signal. Handlers that a thread may stay in for long let it through.
inline int StopSignal() noexcept { return SIGRTMIN + 7; }

/// Reserves the storage and installs the signal's handler; before anything goes wrong. False when that failed.
ZV_HIDDEN bool PrepareThreadStop() noexcept;

/// Takes the handler away again, and the signals that have not arrived.
ZV_HIDDEN void EndThreadStop() noexcept;

/// Stops all other threads; one at a time may call. threads then points to the records: that of the calling thread first, as
/// the frame has it. A thread that keeps the signal blocked goes on, and its record holds what the kernel tells of it.
ZV_HIDDEN size_t StopThreads(int signal, const ucontext_t& context, const CoreThread* const*& threads) noexcept;

/// Lets them go on.
ZV_HIDDEN void ReleaseThreads() noexcept;

/// Gives a stack for signals to the calling thread, and to all others that are there and have none: without one a thread
/// that has used up its stack can do nothing any more.
ZV_HIDDEN void GiveSignalStacks() noexcept;

}
