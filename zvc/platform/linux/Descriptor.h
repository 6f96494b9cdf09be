#pragma once

// Descriptors behind handles, for this folder's sources.

#include "zvc/platform/Handle.h"

namespace zvc::platform {

/// A duplicate of a file handle's descriptor that no program inherits, 3 or above; -1 for a handle that is no file's.
ZV_HIDDEN int DuplicateDescriptor(Handle handle) noexcept;

/// A new descriptor that is readable once the process has ended; -1 for a handle that is no process's, and on failure.
ZV_HIDDEN int ProcessEndDescriptor(Handle process) noexcept;

}
