#include "zvc/serialization/ZvStrStream.h"

#undef __DEPRECATED                                    // the header is old, and just what this stream stands on
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <strstream>

#include <climits>
#include <cstring>
#include <iostream>

ZV_DEFINE_CLASS(ZvStrStream, (ZvStream))

namespace {
constexpr std::ios_base::seekdir Directions[] = {std::ios_base::beg, std::ios_base::cur, std::ios_base::end};
}

namespace {

/// As std::strstream holds it, but that what is written behind a text ends where the buffer does: the standard one would go on
/// for as many bytes more as the text has.
class Area : public std::strstreambuf {
public:
    Area() = default;                                  // one of its own, which grows
    Area(char* buffer, char* put, char* end) : std::strstreambuf(buffer, end - buffer, put) { setp(put, end); }
};

// The append bit is the system's own number, and the standard library's may be another. A size of 0 stands for that of the text.
Area AreaOn(char* buffer, long long size, int mode) {
    if (buffer == nullptr) return Area();
    const auto room = size > 0 ? static_cast<size_t>(size) : size == 0 ? std::strlen(buffer) : static_cast<size_t>(INT_MAX);
    return Area(buffer, (mode & 8) != 0 ? buffer + strnlen(buffer, room) : buffer, buffer + room);
}

}

struct ZvStrStream::Buffer {
    Buffer(char* buffer, long long size, int mode) : area(AreaOn(buffer, size, mode)), stream(&area) {}
    Area area;
    std::iostream stream;
};

ZvStrStream::ZvStrStream(char* buffer, long long size, int mode) : m_buffer(new Buffer(buffer, size, mode)) {}
ZvStrStream::~ZvStrStream() = default;
long long ZvStrStream::Size() const { return m_buffer->area.pcount(); }
unsigned char* ZvStrStream::StartPointer() { return reinterpret_cast<unsigned char*>(m_buffer->area.str()); }

long long ZvStrStream::GetFileLength() { return m_buffer->stream.gcount(); }

// The count is what the position says: a stream that cannot tell its position answers 0.
long long ZvStrStream::Write(const void* buffer, long long count) {
    const auto before = m_buffer->stream.tellp();
    m_buffer->stream.write(static_cast<const char*>(buffer), count);
    return static_cast<long long>(m_buffer->stream.tellp() - before);
}

long long ZvStrStream::Read(void* buffer, long long count) {
    const auto before = m_buffer->stream.tellg();
    m_buffer->stream.read(static_cast<char*>(buffer), count);
    return static_cast<long long>(m_buffer->stream.tellg() - before);
}

long long ZvStrStream::Tellp() const { return m_buffer->stream.tellp(); }
long long ZvStrStream::Tellg() const { return m_buffer->stream.tellg(); }
void ZvStrStream::Flush() { m_buffer->stream.flush(); }

void ZvStrStream::Seekp(long long offset, SeekOrigin origin) {
    if (origin >= Begin && origin <= End) m_buffer->stream.seekp(offset, Directions[origin]);
}

void ZvStrStream::Seekg(long long offset, SeekOrigin origin) {
    if (origin >= Begin && origin <= End) m_buffer->stream.seekg(offset, Directions[origin]);
}

bool ZvStrStream::Fail() const { return m_buffer->stream.fail(); }
bool ZvStrStream::SetEndOfFile() { return true; }
bool ZvStrStream::CanSeek() const { return true; }
bool ZvStrStream::CanRead() const { return true; }
bool ZvStrStream::CanWrite() const { return true; }

#pragma GCC diagnostic pop
