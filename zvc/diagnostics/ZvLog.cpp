#include "zvc/diagnostics/ZvLog.h"

#include "zvc/platform/Debugger.h"
#include "zvc/platform/System.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

FILE* s_log = nullptr;

// Appends the formatted text, however long it is; nothing of a text that cannot be printed.
void Append(std::string& text, const char* format, va_list arguments) {
    va_list counted;
    va_copy(counted, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, counted);
    va_end(counted);
    if (length <= 0) return;
    const size_t before = text.size();
    text.resize(before + static_cast<size_t>(length));
    std::vsnprintf(text.data() + before, static_cast<size_t>(length) + 1, format, arguments);
}

}

// An earlier stream is meant to be left open: what was printed to it is in its file, and somebody may hold it.
void ZvOpenLog(const char* path) { s_log = std::fopen(path, "w"); }

void ZvCloseLog() {
    if (s_log == nullptr) return;
    std::fclose(s_log);
    s_log = nullptr;
}

void ZvLogPrintf(const char* format, ...) {
    if (s_log == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(s_log, format, arguments);
    va_end(arguments);
    std::fflush(s_log);
}

void ZvLog(const char* file, const char* function, size_t line, const char* format, ...) {
    if (s_log == nullptr) return;
    std::fprintf(s_log, "%s:%s(%d):", file, function, static_cast<int>(line));
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(s_log, format, arguments);
    va_end(arguments);
    std::fflush(s_log);
}

void ZvVCOUT_Printf(const char* file, size_t line, const char* format, ...) {
    char prefix[128];
    const int length = std::snprintf(prefix, sizeof prefix, "%s(%d):", file, static_cast<int>(line));
    if (length < 0 || static_cast<size_t>(length) >= sizeof prefix) zvc::platform::Fatal("invalid parameter: the file's name is too long");
    std::string text(prefix);
    va_list arguments;
    va_start(arguments, format);
    Append(text, format, arguments);
    va_end(arguments);
    zvc::platform::DebuggerOutput(text.c_str());
}

void ZvVCOUT_Printf0(const char* format, ...) {
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    Append(text, format, arguments);
    va_end(arguments);
    zvc::platform::DebuggerOutput(text.c_str());
}
