#pragma once

// Reads the kernel's text files line by line, with nothing but system calls and the storage of the caller: also from
// signal handlers.

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>

namespace zvc::platform {

class ZV_HIDDEN ProcFile {
public:
    /// buffer must hold the longest line that matters; what goes beyond is cut.
    ProcFile(const char* path, char* buffer, size_t size) noexcept;
    ~ProcFile();
    ProcFile(const ProcFile&) = delete;
    ProcFile& operator=(const ProcFile&) = delete;

    /// The next line, zero-ended, without its end; null when there is none. Valid until the next call.
    char* Next() noexcept;

private:
    bool Fill() noexcept;

    const int m_file;
    char* const m_buffer;
    const size_t m_size;
    size_t m_begin = 0;
    size_t m_end = 0;
};

/// Reads the digits at text and moves it behind them.
ZV_HIDDEN uint64_t TakeHex(const char*& text) noexcept;
ZV_HIDDEN uint64_t TakeDecimal(const char*& text) noexcept;

/// The text behind prefix when line begins with it; null otherwise.
ZV_HIDDEN const char* After(const char* line, const char* prefix) noexcept;

}
