#pragma once

// A file for a fuzz target: in memory, without a name that could be left behind.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

class ScratchFile {
public:
    explicit ScratchFile(const char* name) : m_descriptor(memfd_create(name, 0)) {
        if (m_descriptor < 0) std::abort();
        m_path = "/proc/self/fd/" + std::to_string(m_descriptor);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() { close(m_descriptor); }

    /// Each opening of the path has a position of its own.
    const char* Path() const { return m_path.c_str(); }
    int Descriptor() const { return m_descriptor; }

    /// The whole content, and the descriptor's position at its begin.
    void SetContent(const void* data, size_t size) const {
        if (ftruncate(m_descriptor, 0) != 0 || pwrite(m_descriptor, data, size, 0) != static_cast<ssize_t>(size) ||
            lseek(m_descriptor, 0, SEEK_SET) != 0)
            std::abort();
    }

    std::string Content() const {
        std::string content(static_cast<size_t>(lseek(m_descriptor, 0, SEEK_END)), '\0');
        if (pread(m_descriptor, content.data(), content.size(), 0) != static_cast<ssize_t>(content.size())) std::abort();
        return content;
    }

private:
    int m_descriptor;
    std::string m_path;
};
