#pragma once

#include "zvc/platform/Api.h"

#include <cstdint>

namespace zvc::platform {

/// Processors of the system that are at work; at least 1.
ZV_API unsigned int ProcessorCount() noexcept;

/// Writes a line to standard error and ends the process at once, with a core where the system makes one.
[[noreturn]] ZV_API void Fatal(const char* text) noexcept;

}
