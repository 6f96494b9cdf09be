#pragma once

#include "zvc/platform/Api.h"

namespace zvc::platform {

/// From now on a crash leaves a full image of the process in the file at path, which each crash overwrites, and then ends
/// the process as it would have ended without. A relative path counts from the directory at the time of the crash.
///
/// On Linux the image is an ELF core for the debugger: all memory that can be read (except what its owner has marked as not to
/// be dumped), all threads with their registers, the crashing one first. A crash is a fault of the machine: SIGSEGV, SIGBUS,
/// SIGILL, SIGFPE, SIGTRAP; a signal that somebody sends and abort() are none. After the image the handler that stood there
/// before the first call has its turn, or the process ends with the signal.
///
/// An overflow of a stack is seen in the threads of this library and in those that exist at a call; a thread that the
/// program makes by other means later has to call once itself. Not to be called by two threads at a time.
ZV_API void SetCrashDumpPath(const char* path) noexcept;

/// From now on a crash leaves no image; all else stays.
ZV_API void ClearCrashDumpPath() noexcept;

}
