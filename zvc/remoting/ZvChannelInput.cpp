#include "zvc/remoting/ZvChannelInput.h"

#include <algorithm>
#include <cstring>

namespace zvc::detail {

ChannelInput::ChannelInput(const ZvStream$& stream, bool readAhead, Ending& ending)
    : m_stream(stream), m_ending(ending), m_buffer(readAhead ? new unsigned char[BufferSize] : nullptr) {}

ChannelInput::~ChannelInput() = default;

long long ChannelInput::Read(void* buffer, long long count) {
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

long long ChannelInput::ReadStream(void* buffer, long long count) {
    const long long got = m_stream->Read(buffer, count);
    if (got > 0) return got;
    if (count > 0 && m_ending.EndsQuietly()) throw Ended();
    return 0;
}

}
