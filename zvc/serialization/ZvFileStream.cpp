#include "zvc/serialization/ZvFileStream.h"

#include "zvc/platform/File.h"
#include "zvc/serialization/ZvFileWindow.h"

#include <algorithm>

ZV_DEFINE_CLASS(ZvFileStream, (ZvStream))

namespace platform = zvc::platform;

namespace {

// ReadWrite asks for no rights: meant so.
unsigned int RightsOf(ZvFile::Access access) {
    if (access == ZvFile::Read) return platform::FileAccessRead;
    if (access == ZvFile::Write) return platform::FileAccessWrite;
    return platform::FileAccessNone;
}

unsigned int DispositionOf(ZvFile::Mode mode) {
    switch (mode) {
        case ZvFile::Append: return platform::FileOpenAlways;
        case ZvFile::Create: return platform::FileCreateAlways;
        case ZvFile::CreateNew: return platform::FileCreateNew;
        case ZvFile::Open: return platform::FileOpenExisting;
        case ZvFile::OpenOrCreate: return platform::FileOpenAlways;
        case ZvFile::Truncate: return platform::FileTruncateExisting;
    }
    return 0;
}

// The system's calls take 32 bits of a count.
constexpr long long LargestTransfer = 0x40000000;

}

ZvFileStream::ZvFileStream() : m_handle(nullptr) {}

ZvFileStream::ZvFileStream(const char* path, ZvFile::Access access, ZvFile::Mode mode)
    : m_handle(platform::FileOpen(path, RightsOf(access), DispositionOf(mode))), m_opened(true), m_access(access), m_mode(mode) {
    if (m_handle != nullptr && mode == ZvFile::Append) platform::FileSeek(m_handle, 0, End);
}

ZvFileStream::ZvFileStream(void* handle, ZvFile::Access access) : m_handle(handle), m_access(access) {}

ZvFileStream::ZvFileStream(const ZvFileStream& other)
    : ZvStream(other), m_handle(other.m_handle), m_opened(other.m_opened), m_failed(other.m_failed),
      m_access(other.m_access), m_mode(other.m_mode) {}

ZvFileStream& ZvFileStream::operator=(const ZvFileStream& other) {
    m_handle = other.m_handle;
    m_opened = other.m_opened;
    m_failed = other.m_failed;
    m_access = other.m_access;
    m_mode = other.m_mode;
    return *this;
}

ZvFileStream::~ZvFileStream() {
    if (m_handle != platform::InvalidHandle) platform::CloseHandle(m_handle);
}

// Whoever looks at the stream while a coder gathers sees what an unbuffered stream would show.
inline void ZvFileStream::Settle() const {
    if (m_window != nullptr) m_window->Settle();
}

long long ZvFileStream::GetFileLength() {
    Settle();
    return platform::FileSize(m_handle);
}

long long ZvFileStream::Write(const void* buffer, long long count) {
    Settle();
    long long total = 0;
    do {
        const auto part = static_cast<uint32_t>(std::min(count - total, LargestTransfer));
        uint32_t done = 0;
        m_failed = !platform::FileWrite(m_handle, static_cast<const char*>(buffer) + total, part, &done);
        total += done;
        if (done != part) break;
    } while (!m_failed && total < count);
    return total;
}

long long ZvFileStream::Read(void* buffer, long long count) {
    Settle();
    long long total = 0;
    do {
        const auto part = static_cast<uint32_t>(std::min(count - total, LargestTransfer));
        uint32_t done = 0;
        m_failed = !platform::FileRead(m_handle, static_cast<char*>(buffer) + total, part, &done);
        total += done;
        if (done != part) break;
    } while (!m_failed && total < count);
    return total;
}

long long ZvFileStream::Tellp() const {
    Settle();
    return platform::FileSeek(m_handle, 0, Current);
}

long long ZvFileStream::Tellg() const { return Tellp(); }

void ZvFileStream::Flush() {
    Settle();
    m_failed = !platform::FileFlush(m_handle);
}

void ZvFileStream::Seek(long long offset, SeekOrigin origin) {
    if (origin < Begin || origin > End) return;
    Settle();
    platform::FileSeek(m_handle, static_cast<int32_t>(offset), static_cast<unsigned int>(origin));
}

// To the very end, whatever the offset: meant so, and not so in Seekg.
void ZvFileStream::Seekp(long long offset, SeekOrigin origin) { Seek(origin == End ? 0 : offset, origin); }

void ZvFileStream::Seekg(long long offset, SeekOrigin origin) { Seek(offset, origin); }

void* zvc::detail::FileHandleOf(const ZvStream* stream) {
    return typeid(*stream) == typeid(ZvFileStream) ? static_cast<const ZvFileStream*>(stream)->m_handle : nullptr;
}

bool ZvFileStream::Fail() const { return m_failed; }

bool ZvFileStream::SetEndOfFile() {
    Settle();
    return platform::FileSetEnd(m_handle);
}

bool ZvFileStream::CanSeek() const { return true; }
bool ZvFileStream::CanRead() const { return (m_access & ZvFile::Read) != 0; }
bool ZvFileStream::CanWrite() const { return (m_access & ZvFile::Write) != 0; }
