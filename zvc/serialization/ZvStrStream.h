#pragma once

#include "zvc/serialization/ZvStream.h"

#include <memory>

/// A stream on a character buffer: the caller's, or one of its own that grows.
class ZV_API ZvStrStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvStrStream)
public:
    /// A null buffer is one of its own. With the append bit (8) in mode writing starts at the terminating zero of buffer. A size
    /// of 0 stands for the length of the text in buffer, a negative one for a buffer that has no end.
    ZvStrStream(char* buffer, long long size, int mode);
    ~ZvStrStream() override;

    /// Bytes written: 0 while nothing was.
    long long Size() const;
    /// The start of the buffer, which is frozen from then on: one of the stream's own grows no more, and is the caller's to
    /// free, by delete[].
    unsigned char* StartPointer();

    /// GetFileLength gives the count of the last read. SetEndOfFile does nothing and answers true.
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
    struct Buffer;
    std::unique_ptr<Buffer> m_buffer;
};
