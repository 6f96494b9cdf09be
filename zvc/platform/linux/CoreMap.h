#pragma once

// What the memory of the process consists of, for the core file.

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>

namespace zvc::platform {

struct Mapping {
    uint64_t begin;
    uint64_t end;
    uint64_t offset;                  // in the file
    const char* name;                 // of the file; null when there is none
    uint32_t protection;              // as in a program header
    bool stored;                      // its bytes stand in the core
    bool sparse;                      // what the page table does not know is zero
};

/// The mappings in ascending order. A list that is too long is cut.
struct CoreMap {
    static constexpr size_t MaximumMappings = 65500;         // the count of program headers has 16 bits
    static constexpr size_t MaximumNames = 4 << 20;

    Mapping* mappings;
    size_t count;
    char* names;
    size_t namesUsed;

    bool Reserve() noexcept;
    void Read() noexcept;

private:
    void Add(const char* line) noexcept;
    void Mark(const char* flags) noexcept;
};

}
