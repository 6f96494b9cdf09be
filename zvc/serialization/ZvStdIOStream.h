#pragma once

#include "zvc/serialization/ZvStream.h"

#include <iosfwd>

/// A stream on any standard-library stream, which is not owned: the destructor flushes it. Nothing raises, even where that stream
/// was told to raise exceptions: what it would have raised shows in its state, and in Fail.
class ZV_API ZvStdIOStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvStdIOStream)
public:
    explicit ZvStdIOStream(std::basic_iostream<char>& stream);
    ~ZvStdIOStream() override;

    /// GetFileLength gives -1. SetEndOfFile does nothing and answers false. Fail follows the state of the stream.
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
    std::basic_iostream<char>& m_stream;
};
