#pragma once

#include "zvc/diagnostics/ZvFile.h"
#include "zvc/serialization/ZvStream.h"

namespace zvc::detail {
class FileWindow;
class InputWindow;
class OutputWindow;

/// The platform handle of stream when it is exactly a ZvFileStream, else null. For the floors above; not for clients.
void* FileHandleOf(const ZvStream* stream);
}

/// A stream on a file of the system, written straight through. Positions are 32 bits wide. While it is open nobody else
/// opens the file. A failed opening shows only in the first transfer. Copies share the file, and the first destructor
/// closes it.
class ZV_API ZvFileStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvFileStream)
public:
    ZvFileStream();                                                   ///< no file
    /// ReadWrite opens with no rights at all, although CanRead and CanWrite answer true: programs rely on it.
    ZvFileStream(const char* path, ZvFile::Access access, ZvFile::Mode mode);
    ZvFileStream(void* handle, ZvFile::Access access);                ///< adopts a platform handle, and closes it
    ZvFileStream(const ZvFileStream& other);
    ZvFileStream& operator=(const ZvFileStream& other);
    ~ZvFileStream() override;

    /// GetFileLength gives the low 32 bits. Tellp and Tellg are one position. Seekp to the end ignores its offset.
    /// Fail tells of the last Read, Write or Flush alone.
    using ZvStream::Read;
    using ZvStream::Write;
    long long GetFileLength() override;
    long long Write(const void* buffer, long long count) override;
    long long Read(void* buffer, long long count) override;
    long long Tellp() const override;
    long long Tellg() const override;
    void Flush() override;
    void Seekp(long long offset, SeekOrigin origin) override;
    void Seekg(long long offset, SeekOrigin origin) override;
    bool Fail() const override;
    bool SetEndOfFile() override;
    bool CanSeek() const override;
    bool CanRead() const override;
    bool CanWrite() const override;

private:
    friend class zvc::detail::InputWindow;
    friend class zvc::detail::OutputWindow;
    friend void* zvc::detail::FileHandleOf(const ZvStream* stream);
    void Settle() const;
    void Seek(long long offset, SeekOrigin origin);

    void* m_handle;
    bool m_opened = false;
    bool m_failed = false;
    ZvFile::Access m_access = ZvFile::Access(0);
    ZvFile::Mode m_mode = ZvFile::Append;
    zvc::detail::FileWindow* m_window = nullptr;      // of a coder in the middle of a call; never copied
};
