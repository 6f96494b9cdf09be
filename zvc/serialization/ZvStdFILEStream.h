#pragma once

#include "zvc/serialization/ZvStream.h"

#include <cstdio>

/// A stream on a standard-library file. Copies share the file, and the first destructor that owns it closes it. Without a
/// file, because none was opened or it could not be, nothing is transferred, positions are -1, and Fail is true.
class ZV_API ZvStdFILEStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvStdFILEStream)
public:
    ZvStdFILEStream();
    ZvStdFILEStream(const char* path, const char* mode);
    ZvStdFILEStream(int descriptor, const char* mode);               ///< the descriptor stays the caller's, and open
    ZvStdFILEStream(const ZvStdFILEStream& other);
    ZvStdFILEStream& operator=(const ZvStdFILEStream& other);
    ~ZvStdFILEStream() override;

    /// Open another file. What was open before is not closed.
    void Open(const char* path, const char* mode);
    void Open(int descriptor, const char* mode);

    /// The size of the file's own buffer, before the first transfer.
    void SetBufferSize(long long size);

    /// CanRead and CanWrite follow the mode string. Fail tells of an error once: asking clears it; without a file it is
    /// true. SetEndOfFile does nothing and answers false.
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
    void Take(FILE* file, const char* mode, bool owned);

    FILE* m_file = nullptr;
    bool m_owned = false;
    bool m_isCopyOfDescriptor = false;      // closing the file closes a descriptor of our own alone
    unsigned int m_access = 0;
};
