#include "zvc/serialization/ZvStdFILEStream.h"

#include "zvc/diagnostics/ZvFile.h"
#include "zvc/platform/File.h"

#include <cstring>

ZV_DEFINE_CLASS(ZvStdFILEStream, (ZvStream))

ZvStdFILEStream::ZvStdFILEStream() = default;
ZvStdFILEStream::ZvStdFILEStream(const char* path, const char* mode) { Open(path, mode); }
ZvStdFILEStream::ZvStdFILEStream(int descriptor, const char* mode) { Open(descriptor, mode); }
ZvStdFILEStream::ZvStdFILEStream(const ZvStdFILEStream& other) : ZvStream(other) { *this = other; }

ZvStdFILEStream& ZvStdFILEStream::operator=(const ZvStdFILEStream& other) {
    m_file = other.m_file;
    m_owned = other.m_owned;
    m_isCopyOfDescriptor = other.m_isCopyOfDescriptor;
    m_access = other.m_access;
    return *this;
}

ZvStdFILEStream::~ZvStdFILEStream() {
    if (m_file == nullptr) return;
    std::fflush(m_file);
    if (m_owned || m_isCopyOfDescriptor) std::fclose(m_file);
}

// The directions are those that the mode string allows: a coder refuses a stream that answers false.
void ZvStdFILEStream::Take(FILE* file, const char* mode, bool owned) {
    m_file = file;
    m_owned = owned;
    m_isCopyOfDescriptor = !owned;
    const bool both = std::strchr(mode, '+') != nullptr;
    m_access = 0;
    if (both || mode[0] == 'r') m_access |= ZvFile::Read;
    if (both || mode[0] == 'w' || mode[0] == 'a') m_access |= ZvFile::Write;
}

void ZvStdFILEStream::Open(const char* path, const char* mode) { Take(std::fopen(path, mode), mode, true); }
void ZvStdFILEStream::Open(int descriptor, const char* mode) {
    Take(zvc::platform::StdFileOnDescriptor(descriptor, mode), mode, false);
}

// Without a file nothing moves: an opening that failed shows in Fail, not in a crash.
void ZvStdFILEStream::SetBufferSize(long long size) {
    if (m_file != nullptr) std::setvbuf(m_file, nullptr, _IOFBF, static_cast<size_t>(size));
}

long long ZvStdFILEStream::GetFileLength() { return m_file != nullptr ? zvc::platform::StdFileLength(m_file) : -1; }

long long ZvStdFILEStream::Write(const void* buffer, long long count) {
    return m_file != nullptr ? static_cast<long long>(std::fwrite(buffer, 1, static_cast<size_t>(count), m_file)) : 0;
}

long long ZvStdFILEStream::Read(void* buffer, long long count) {
    return m_file != nullptr ? static_cast<long long>(std::fread(buffer, 1, static_cast<size_t>(count), m_file)) : 0;
}

long long ZvStdFILEStream::Tellp() const { return m_file != nullptr ? std::ftell(m_file) : -1; }
long long ZvStdFILEStream::Tellg() const { return Tellp(); }

void ZvStdFILEStream::Flush() {
    if (m_file != nullptr) std::fflush(m_file);
}

void ZvStdFILEStream::Seekp(long long offset, SeekOrigin origin) { Seekg(offset, origin); }

void ZvStdFILEStream::Seekg(long long offset, SeekOrigin origin) {
    static constexpr int origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (m_file == nullptr || origin < Begin || origin > End) return;
    std::fseek(m_file, static_cast<long>(offset), origins[origin]);
}

bool ZvStdFILEStream::Fail() const {
    if (m_file == nullptr) return true;
    const bool failed = std::ferror(m_file) != 0;
    std::clearerr(m_file);                   // an error is told once
    return failed;
}

bool ZvStdFILEStream::SetEndOfFile() { return false; }
bool ZvStdFILEStream::CanSeek() const { return true; }
bool ZvStdFILEStream::CanRead() const { return (m_access & ZvFile::Read) != 0; }
bool ZvStdFILEStream::CanWrite() const { return (m_access & ZvFile::Write) != 0; }
