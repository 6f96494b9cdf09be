#pragma once

#include <cstddef>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

/// A block of bytes between two pages that nobody may touch: it ends right before one, or begins right behind the other.
class Guarded {
public:
    enum Where { AtTheEnd, AtTheBegin };

    Guarded(size_t bytes, Where where) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t room = (bytes + page - 1) / page * page;
        m_size = room + 2 * page;
        void* memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        m_memory = static_cast<unsigned char*>(memory);
        mprotect(m_memory, page, PROT_NONE);
        mprotect(m_memory + page + room, page, PROT_NONE);
        m_data = m_memory + page + (where == AtTheEnd ? room - bytes : 0);
    }
    ~Guarded() { munmap(m_memory, m_size); }
    Guarded(const Guarded&) = delete;

    unsigned char* Data() const { return m_data; }

private:
    unsigned char* m_memory;
    unsigned char* m_data;
    size_t m_size;
};
