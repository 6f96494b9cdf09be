#include "zvc/serialization/ZvReadAhead.h"

#include <algorithm>
#include <cstring>

namespace zvc::detail {

ReadAhead::ReadAhead(const ZvStream$& stream, bool readAhead, Ending& ending)
    : m_stream(stream), m_ending(ending), m_buffer(readAhead ? new unsigned char[BufferSize] : nullptr),
      m_next(m_buffer.get()), m_limit(m_next) {}

ReadAhead::~ReadAhead() = default;

long long ReadAhead::Read(void* buffer, long long count) {
    if (m_next == m_limit) {
        if (!m_buffer || count >= BufferSize) return ReadStream(buffer, count);
        m_next = m_limit = m_buffer.get();
        m_limit += ReadStream(m_next, BufferSize);
    }
    const long long part = std::min<long long>(count, m_limit - m_next);
    std::memcpy(buffer, m_next, static_cast<size_t>(part));
    m_next += part;
    return part;
}

bool ReadAhead::Gather(size_t size) {
    const auto have = static_cast<size_t>(m_limit - m_next);
    if (have >= size) return true;
    if (!m_buffer || size > static_cast<size_t>(BufferSize)) return false;
    if (static_cast<size_t>(m_buffer.get() + BufferSize - m_next) < size || have == 0) {
        std::memmove(m_buffer.get(), m_next, have);
        m_next = m_buffer.get();
        m_limit = m_next + have;
    }
    while (static_cast<size_t>(m_limit - m_next) < size) {
        const long long got = ReadStream(m_limit, m_buffer.get() + BufferSize - m_limit);
        if (got <= 0) return false;
        m_limit += got;
    }
    return true;
}

long long ReadAhead::ReadStream(void* buffer, long long count) {
    const long long got = m_stream->Read(buffer, count);
    if (got > 0) {
        m_received += got;
        return got;
    }
    if (count > 0 && m_ending.EndsQuietly()) throw Ended();
    return 0;
}

}
