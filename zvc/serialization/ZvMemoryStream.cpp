#include "zvc/serialization/ZvMemoryStream.h"

#include <cstring>

ZV_DEFINE_CLASS(ZvMemoryStream, (ZvStream))

ZvMemoryStream::ZvMemoryStream(ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>& array)
    : m_array(array), m_start(static_cast<unsigned char*>(array->GetBaseAddress())), m_cursor(m_start),
      m_end(m_start + array->Count()) {}

ZvMemoryStream::~ZvMemoryStream() = default;

long long ZvMemoryStream::GetFileLength() { return m_end - m_start; }

// One of the two is the cursor; the other may lie in the array too. The strict comparison is meant so: what ends at the end is an
// overrun.
inline long long ZvMemoryStream::Move(void* to, const void* from, long long count) {
    const long long room = m_end - m_cursor;
    if (count < room) {
        if (count > 0) std::memmove(to, from, static_cast<size_t>(count));
        m_cursor += count;
        return count;
    }
    if (room > 0) std::memmove(to, from, static_cast<size_t>(room));
    m_failed = true;
    return room;
}

long long ZvMemoryStream::Write(const void* buffer, long long count) { return Move(m_cursor, buffer, count); }
long long ZvMemoryStream::Read(void* buffer, long long count) { return Move(buffer, m_cursor, count); }
long long ZvMemoryStream::Tellp() const { return m_cursor - m_start; }
long long ZvMemoryStream::Tellg() const { return Tellp(); }
void ZvMemoryStream::Flush() {}

void ZvMemoryStream::Seekp(long long offset, SeekOrigin origin) {
    const unsigned char* base;
    switch (origin) {
        case Begin: base = m_start; break;
        case Current: base = m_cursor; break;
        case End: base = m_end; break;
        default: return;
    }
    const uintptr_t target = reinterpret_cast<uintptr_t>(base) + static_cast<uintptr_t>(offset);
    if (target >= reinterpret_cast<uintptr_t>(m_start) && target < reinterpret_cast<uintptr_t>(m_end))
        m_cursor = m_start + (target - reinterpret_cast<uintptr_t>(m_start));
    else
        m_failed = true;
}

void ZvMemoryStream::Seekg(long long offset, SeekOrigin origin) { Seekp(offset, origin); }
bool ZvMemoryStream::Fail() const { return m_failed; }

bool ZvMemoryStream::SetEndOfFile() {
    m_end = m_cursor;
    return true;
}

bool ZvMemoryStream::CanSeek() const { return true; }
bool ZvMemoryStream::CanRead() const { return true; }
bool ZvMemoryStream::CanWrite() const { return true; }
