#include "zvc/serialization/ZvStdIOStream.h"

#include "zvc/serialization/ZvQuietStream.h"

#include <iostream>

ZV_DEFINE_CLASS(ZvStdIOStream, (ZvStream))

using zvc::detail::QuietStream;

namespace {
constexpr std::ios_base::seekdir Directions[] = {std::ios_base::beg, std::ios_base::cur, std::ios_base::end};
}

ZvStdIOStream::ZvStdIOStream(std::basic_iostream<char>& stream) : m_stream(stream) {}
ZvStdIOStream::~ZvStdIOStream() { ZvStdIOStream::Flush(); }

long long ZvStdIOStream::GetFileLength() { return -1; }

// The count is what the position says: a stream that cannot tell its position answers 0.
long long ZvStdIOStream::Write(const void* buffer, long long count) {
    const QuietStream quiet(m_stream);
    const auto before = m_stream.tellp();
    m_stream.write(static_cast<const char*>(buffer), count);
    return static_cast<long long>(m_stream.tellp() - before);
}

long long ZvStdIOStream::Read(void* buffer, long long count) {
    const QuietStream quiet(m_stream);
    const auto before = m_stream.tellg();
    m_stream.read(static_cast<char*>(buffer), count);
    return static_cast<long long>(m_stream.tellg() - before);
}

long long ZvStdIOStream::Tellp() const {
    const QuietStream quiet(m_stream);
    return m_stream.tellp();
}

long long ZvStdIOStream::Tellg() const {
    const QuietStream quiet(m_stream);
    return m_stream.tellg();
}

void ZvStdIOStream::Flush() {
    const QuietStream quiet(m_stream);
    m_stream.flush();
}

void ZvStdIOStream::Seekp(long long offset, SeekOrigin origin) {
    const QuietStream quiet(m_stream);
    if (origin >= Begin && origin <= End) m_stream.seekp(offset, Directions[origin]);
}

void ZvStdIOStream::Seekg(long long offset, SeekOrigin origin) {
    const QuietStream quiet(m_stream);
    if (origin >= Begin && origin <= End) m_stream.seekg(offset, Directions[origin]);
}

bool ZvStdIOStream::Fail() const { return m_stream.fail(); }
bool ZvStdIOStream::SetEndOfFile() { return false; }
bool ZvStdIOStream::CanSeek() const { return true; }
bool ZvStdIOStream::CanRead() const { return true; }
bool ZvStdIOStream::CanWrite() const { return true; }
