#pragma once

#include "zvc/platform/Api.h"

#include <cstddef>

// Two small channels for the code of callers: one log file, and the debugger's output. The library itself writes to neither.
// There are no levels, no filter and no rotation. Formats are those of printf.

#if defined(__GNUC__)
#define ZV_DETAIL_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define ZV_DETAIL_PRINTF(text, first)
#endif

/// Opens the log at path and empties the file that is there. A log opened before is left as it is, neither closed nor
/// written to again. When the file cannot be opened there is no log, and nothing tells so. No other thread may log meanwhile.
ZV_API void ZvOpenLog(const char* path);

/// Closes the log, if one is open. No other thread may log meanwhile.
ZV_API void ZvCloseLog();

/// Writes the formatted text as it stands, without prefix and line end, and flushes. Without an open log: nothing. Any
/// thread.
ZV_API void ZvLogPrintf(const char* format, ...) ZV_DETAIL_PRINTF(1, 2);

/// Writes "file:function(line):", directly followed by the formatted text, and flushes; no line end. Without an open log:
/// nothing. Any thread; prefix and text are two writes, so that those of two threads may mix.
ZV_API void ZvLog(const char* file, const char* function, size_t line, const char* format, ...) ZV_DETAIL_PRINTF(4, 5);

/// Sends "file(line):", directly followed by the formatted text, in one piece to the debugger that is attached; without one:
/// nothing. A prefix of 128 bytes or more (a very long file) ends the process. Any thread.
ZV_API void ZvVCOUT_Printf(const char* file, size_t line, const char* format, ...) ZV_DETAIL_PRINTF(3, 4);

/// The same without the prefix.
ZV_API void ZvVCOUT_Printf0(const char* format, ...) ZV_DETAIL_PRINTF(1, 2);
