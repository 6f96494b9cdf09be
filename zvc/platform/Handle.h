#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Wait.h"

#include <cstdint>

namespace zvc::platform {

/// What callers hold of a kernel object: the number of an entry in a table, never a pointer. Required:
/// closing one twice, closing null and closing all ones are harmless; null, all ones and small numbers are never valid; an
/// operation that is under way keeps its object although the handle is closed meanwhile. Any thread may use any handle.
using Handle = void*;

/// All ones: what opening a file answers when it failed.
inline const Handle InvalidHandle = reinterpret_cast<Handle>(~uintptr_t(0));

/// Gives a handle back. False for one that is not open. A thread goes on without its handle; a timer stops; a file's
/// descriptor is closed.
ZV_API bool CloseHandle(Handle handle) noexcept;

/// Waits until the event is set or pulsed, or the thread or process has ended, for at most timeout milliseconds. Failed for a
/// handle that is not open, for one of any other kind, and for a thread that waits for itself. Several threads may wait for one.
ZV_API WaitResult WaitForHandle(Handle handle, uint32_t timeout) noexcept;

}
