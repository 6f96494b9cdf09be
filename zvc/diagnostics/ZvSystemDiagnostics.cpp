#include "zvc/core/ZvSystem.h"

#include "zvc/platform/CrashDump.h"

// The accounting is an interface that is kept with nothing behind it.
size_t ZvSystem::MemoryUsage() { return 0; }

void ZvSystem::StartLeaks(size_t) {}

void ZvSystem::EndLeaks() {}

void ZvSystem::SetDumpPath(const char* path) {
    if (path != nullptr) zvc::platform::SetCrashDumpPath(path);
}
