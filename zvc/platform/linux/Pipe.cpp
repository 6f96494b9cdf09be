#include "zvc/platform/Pipe.h"

#include "zvc/platform/File.h"

#include <fcntl.h>
#include <unistd.h>

namespace zvc::platform {

namespace {

// Where a standard stream of this process is closed, the system would give its number to a pipe, and whatever prints would
// print into it.
int AboveStandard(int descriptor) noexcept {
    if (descriptor > 2) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
    close(descriptor);
    return moved;
}

Handle Adopt(int descriptor, unsigned int access) noexcept {
    const Handle handle = FileAdopt(descriptor, access);
    if (handle != InvalidHandle) return handle;
    if (descriptor >= 0) close(descriptor);
    return nullptr;
}

}

bool PipeCreate(Handle* reading, Handle* writing) noexcept {
    *reading = *writing = nullptr;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    *reading = Adopt(AboveStandard(ends[0]), FileAccessRead);
    *writing = Adopt(AboveStandard(ends[1]), FileAccessWrite);
    if (*reading != nullptr && *writing != nullptr) return true;
    CloseHandle(*reading);
    CloseHandle(*writing);
    *reading = *writing = nullptr;
    return false;
}

Handle StandardHandle(StandardStream stream) noexcept {
    const int descriptor = fcntl(static_cast<int>(stream), F_DUPFD_CLOEXEC, 3);
    return Adopt(descriptor, stream == StandardStream::Input ? FileAccessRead : FileAccessWrite);
}

bool StandardOutputToError() noexcept { return dup2(2, 1) >= 0; }

bool IsTerminal(StandardStream stream) noexcept { return isatty(static_cast<int>(stream)) == 1; }

}
