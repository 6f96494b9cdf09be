#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

namespace zvc::platform {

/// An anonymous pipe of the system's default size: what is written to one end is read from the other. Both ends are file
/// handles (FileRead, FileWrite). No program that this process starts inherits either of them, but for the one that it is
/// given to as a standard stream. False on failure; the handles are null then.
ZV_API bool PipeCreate(Handle* reading, Handle* writing) noexcept;

/// The process's own standard streams.
enum class StandardStream : int { Input = 0, Output = 1, Error = 2 };

/// A new handle on a standard stream, for reading or writing as the stream goes. It stands on a descriptor of its own:
/// closing it leaves the stream open for whoever prints. Null when the process has no such stream.
ZV_API Handle StandardHandle(StandardStream stream) noexcept;

/// From now on what this process prints to its standard output goes to its standard error. A handle that was taken before
/// stays on the output: for a program whose output belongs to a conversation. False when it has no standard error.
ZV_API bool StandardOutputToError() noexcept;

/// Does a standard stream lead to a terminal, where somebody looks on?
ZV_API bool IsTerminal(StandardStream stream) noexcept;

}
