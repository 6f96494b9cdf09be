#pragma once

#include "zvc/platform/Api.h"

namespace zvc::platform {

/// Whether a debugger is attached to the process now.
ZV_API bool DebuggerAttached() noexcept;

/// Hands a text to the attached debugger; without one it has no effect. On Linux that is the process's standard error, which
/// a debugger shows among its own lines. Any thread.
ZV_API void DebuggerOutput(const char* text) noexcept;

}
