#include "zvc/platform/linux/ProcFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace zvc::platform {

ProcFile::ProcFile(const char* path, char* buffer, size_t size) noexcept
    : m_file(open(path, O_RDONLY | O_CLOEXEC)), m_buffer(buffer), m_size(size - 1) {}

ProcFile::~ProcFile() {
    if (m_file >= 0) close(m_file);
}

// Appends to what is in the buffer; false at the end.
bool ProcFile::Fill() noexcept {
    if (m_begin != 0) {
        std::memmove(m_buffer, m_buffer + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    ssize_t count;
    do count = m_file < 0 ? 0 : read(m_file, m_buffer + m_end, m_size - m_end);
    while (count < 0 && errno == EINTR);
    if (count <= 0) return false;
    m_end += static_cast<size_t>(count);
    return true;
}

char* ProcFile::Next() noexcept {
    size_t searched = 0;
    for (;;) {
        char* const begin = m_buffer + m_begin;
        auto* const end = static_cast<char*>(std::memchr(begin + searched, '\n', m_end - m_begin - searched));
        if (end != nullptr) {
            *end = 0;
            m_begin = static_cast<size_t>(end + 1 - m_buffer);
            return begin;
        }
        searched = m_end - m_begin;
        if (searched == m_size) m_end = --searched;           // too long: makes room over its end, again and again
        if (!Fill()) break;
    }
    if (m_begin == m_end) return nullptr;
    char* const rest = m_buffer + m_begin;
    m_buffer[m_end] = 0;
    m_begin = m_end;
    return rest;
}

uint64_t TakeHex(const char*& text) noexcept {
    uint64_t value = 0;
    for (;; ++text) {
        if (*text >= '0' && *text <= '9') value = value * 16 + static_cast<uint64_t>(*text - '0');
        else if (*text >= 'a' && *text <= 'f') value = value * 16 + static_cast<uint64_t>(*text - 'a' + 10);
        else return value;
    }
}

uint64_t TakeDecimal(const char*& text) noexcept {
    uint64_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) value = value * 10 + static_cast<uint64_t>(*text - '0');
    return value;
}

const char* After(const char* line, const char* prefix) noexcept {
    const size_t length = std::strlen(prefix);
    return std::strncmp(line, prefix, length) == 0 ? line + length : nullptr;
}

}
