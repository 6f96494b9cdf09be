#pragma once

#include "zvc/platform/Api.h"
#include "zvc/platform/Handle.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zvc::platform {

/// The exit code of a process that still runs.
constexpr uint32_t ProcessStillActive = 259;

/// The exit code of a process that has ended when nobody knows it any more: somebody else in this process was waiting for
/// it, or for all children, or the process ignores the news of their ends.
constexpr uint32_t ProcessCodeUnknown = 0xFFFFFFFF;

/// What is started, and with which standard streams. A null stream is the null device: reading gives the end of the
/// file, writing goes nowhere.
struct ProcessStart {
    const char* program = nullptr;        ///< path as it stands, without a search; null: the command line decides
    const char* commandLine = nullptr;    ///< all of the program's words, its own name first; null or empty: the program alone
    Handle input = nullptr;
    Handle output = nullptr;
    Handle error = nullptr;
};

/// A process that was started: its handles are the receiver's to close.
struct ProcessInfo {
    Handle process = nullptr;
    Handle thread = nullptr;              ///< the process's first thread: a second handle that ends with the process
    uint32_t processId = 0;
    uint32_t threadId = 0;
};

/// Starts a program. Of this process it gets the environment, the current directory and the three streams of the start, and
/// no other descriptor; no signal is ignored or blocked in it. Without a program the command line's first word is looked
/// for in PATH, and then, when it was not quoted, longer and longer beginnings of the line.
///
/// False when nothing could be started (no such file, no right to run it), and info is all null then. The process goes on
/// when its handles are closed or this process ends. Its end is collected whether or not anybody asks, so that no dead
/// process stays in the system's table; but not at once: for two seconds the caller may do so itself, by processId.
///
/// WaitForHandle waits for its end, from any number of threads.
ZV_API bool ProcessCreate(const ProcessStart& start, ProcessInfo* info) noexcept;

/// Reads the exit code: ProcessStillActive while it runs, 128 + n when signal n ended it. False for a handle that is no
/// process's.
ZV_API bool ProcessExitCode(Handle process, uint32_t* code) noexcept;

/// Ends a process at once, whatever it does; code is its exit code then. Does not wait for the end. False for a handle that
/// is no process's, and for a process that has ended.
ZV_API bool ProcessKill(Handle process, uint32_t code) noexcept;

/// The system's number of the calling process. A fork has another one than its parent.
ZV_API uint32_t CurrentProcessId() noexcept;

/// The words of a command line. They are separated by blanks and tabs, and double quotes group. In the first word that is
/// all; in the others 2n backslashes before a quote stand for n of them and a grouping quote, 2n + 1 for n of them and a
/// quote of the text, and two quotes within a group for a quote of the text.
ZV_API std::vector<std::string> SplitCommandLine(const char* commandLine);

/// Opens a file as a user's desktop would: a program is started, any other file is handed to the desktop's opener. No
/// parameters. The answer is no handle but a number: above 32 for success, 2 for a file that is not there, 31 when nothing
/// can open it.
ZV_API uintptr_t ShellOpen(const char* file) noexcept;

}
