#pragma once

// The image of the process as an ELF core file, written by the process itself. Only system calls and static storage, so
// that it can be done from the handler of a fault; one thread at a time, while all others stand still.

#include "zvc/platform/Api.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <sys/procfs.h>
#include <sys/ucontext.h>
#include <sys/user.h>

namespace zvc::platform {

/// A thread's registers as a core file holds them.
struct CoreThread {
    elf_prstatus status;
    bool complete;                    // false: only the stack pointer and the program counter are known
    user_fpregs_struct floating;
    const char* extended;             // the extended state in the thread's signal frame, null when there is none
    uint32_t extendedSize;
    uint64_t components;              // of the extended state
};

/// Takes the registers of the calling thread from a signal frame, which must stay while the core is written.
ZV_HIDDEN void CaptureThread(CoreThread& thread, pid_t id, int signal, const ucontext_t& context) noexcept;

/// Reserves the storage. Before anything goes wrong.
ZV_HIDDEN bool PrepareCore() noexcept;

/// Writes the core; the thread that crashed stands first, because debuggers begin there. Failures end it early and are not
/// told.
ZV_HIDDEN void WriteCore(const char* path, const CoreThread* const* threads, size_t count, const siginfo_t& cause) noexcept;

}
