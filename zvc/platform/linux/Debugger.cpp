#include "zvc/platform/Debugger.h"

#include "zvc/platform/linux/ProcFile.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace zvc::platform {

bool DebuggerAttached() noexcept {
    const int error = errno;
    char buffer[4096];
    ProcFile status("/proc/self/status", buffer, sizeof buffer);
    bool attached = false;
    while (const char* line = status.Next()) {
        const char* tracer = After(line, "TracerPid:\t");
        if (tracer == nullptr) continue;
        attached = TakeDecimal(tracer) != 0;
        break;
    }
    errno = error;
    return attached;
}

// A debugger can come and go at any time, so each call looks. There is no call that gives a text to whoever traces the
// process; but the process shares its terminal with the debugger that started it, and the window of an editor shows both.
void DebuggerOutput(const char* text) noexcept {
    if (!DebuggerAttached()) return;
    const int error = errno;
    for (size_t left = std::strlen(text); left != 0;) {
        const ssize_t count = write(STDERR_FILENO, text, left);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        text += count;
        left -= static_cast<size_t>(count);
    }
    errno = error;
}

}
