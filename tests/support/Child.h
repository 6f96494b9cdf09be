#pragma once

// The program that tests start as a child, and what it says.

#include "zvc/platform/Process.h"

#include <zvc/zvc.h>

#include <filesystem>
#include <string>

/// The path of a program beside this one.
inline std::string Beside(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

inline ZvString$ Text(const std::string& text) { return new ZvString(text.c_str()); }

/// What to start: the child with these words behind its own name.
inline ZvProcessStartInfo$ ChildInfo(const std::string& words) {
    return new ZvProcessStartInfo(Text(Beside("child")), Text("child " + words));
}

/// Reads until text has come, at most so many bytes. The pipe has no end, for the parent keeps the child's end of it open.
inline std::string ReadUntil(ZvStream$ stream, const std::string& text, size_t most = 1 << 16) {
    std::string all;
    char buffer[4096];
    while (all.size() < most && (all.size() < text.size() || all.substr(all.size() - text.size()) != text)) {
        const long long n = stream->Read(buffer, static_cast<long long>(sizeof buffer));
        if (n <= 0) break;
        all.append(buffer, static_cast<size_t>(n));
    }
    return all;
}

/// Waits for the end and answers the exit code.
inline uint32_t EndOf(const ZvProcess$& process) {
    uint32_t code = zvc::platform::ProcessStillActive;
    if (zvc::platform::WaitForHandle(process->GetProcessHandle(), 60000) == zvc::platform::WaitResult::Signalled)
        zvc::platform::ProcessExitCode(process->GetProcessHandle(), &code);
    return code;
}

/// All that a child prints that ends by itself: read when it has ended, so at most what a pipe holds.
inline std::string OutputOf(const std::string& words) {
    ZvProcessStartInfo$ info = ChildInfo(words);
    info->SetRedirectStandardOutput(true);
    const ZvProcess$ process = ZvProcess::Start(info);
    if (!process) return "not started";
    EndOf(process);
    char buffer[1 << 16];
    ZvStream$ stream = process->GetStandardOutputStream();
    // One byte of the parent's own at the end: reading an empty pipe would wait for ever.
    return std::string(buffer, static_cast<size_t>(stream->Read(buffer, static_cast<long long>(sizeof buffer))));
}
