#include "zvc/platform/linux/CoreMap.h"

#include "zvc/platform/linux/ProcFile.h"

#include <cstring>
#include <elf.h>
#include <sys/mman.h>

namespace zvc::platform {

namespace {

char s_lines[16384];

void* ReservePages(size_t size) noexcept {
    void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

}

bool CoreMap::Reserve() noexcept {
    if (mappings == nullptr) mappings = static_cast<Mapping*>(ReservePages(MaximumMappings * sizeof(Mapping)));
    if (names == nullptr) names = static_cast<char*>(ReservePages(MaximumNames));
    return mappings != nullptr && names != nullptr;
}

// The thread's own directory: that of the process is empty when its first thread has ended.
void CoreMap::Read() noexcept {
    count = 0;
    namesUsed = 0;
    ProcFile file("/proc/thread-self/smaps", s_lines, sizeof s_lines);
    while (const char* line = file.Next()) {
        if (const char* flags = After(line, "VmFlags:")) Mark(flags);
        else if (*line < 'A' || *line > 'Z') Add(line);
    }
}

// "begin-end rwxp offset device inode   name", all numbers but the inode in hexadecimal.
void CoreMap::Add(const char* line) noexcept {
    if (count == MaximumMappings) return;
    Mapping& m = mappings[count++];
    m.begin = TakeHex(line);
    m.end = TakeHex(++line);
    ++line;
    m.protection = (line[0] == 'r' ? PF_R : 0u) | (line[1] == 'w' ? PF_W : 0u) | (line[2] == 'x' ? PF_X : 0u);
    line += 5;
    m.offset = TakeHex(line);
    for (++line; *line != ' ' && *line != 0; ++line) {}
    if (*line != 0) ++line;
    const bool isFile = TakeDecimal(line) != 0;
    while (*line == ' ') ++line;
    m.name = nullptr;
    m.stored = (m.protection & PF_R) != 0;
    // A file's pages, and the kernel's code, are there without standing in the page table.
    m.sparse = !isFile && std::strcmp(line, "[vdso]") != 0;
    const size_t length = std::strlen(line) + 1;
    if (!isFile || length > MaximumNames - namesUsed) return;
    m.name = std::strcpy(names + namesUsed, line);
    namesUsed += length;
}

// Devices are not memory, and reading them can do things. Some memory is not to be dumped, as its owner has told the system.
void CoreMap::Mark(const char* flags) noexcept {
    constexpr const char* Apart[] = {" io", " pf", " dd"};
    for (const char* flag : Apart)
        if (count != 0 && std::strstr(flags, flag) != nullptr) mappings[count - 1].stored = false;
}

}
