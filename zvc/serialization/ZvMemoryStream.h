#pragma once

#include "zvc/serialization/ZvStream.h"
#include "zvc/values/ZvPrimArray.h"

namespace zvc::detail {
class InputWindow;
class OutputWindow;
}

/// A stream over a byte array, which it keeps alive, with one cursor for reading and writing.
///
/// A transfer that would end at the end of the range counts as overrun, although every byte moved: the last byte is never
/// passed, and a stream over n bytes takes n - 1 of them. After an overrun the cursor stays and Fail is true for good.
class ZV_API ZvMemoryStream : public ZvStream {
    ZV_DECLARE_CLASS(ZvMemoryStream)
public:
    explicit ZvMemoryStream(ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>& array);
    ~ZvMemoryStream() override;

    /// GetFileLength gives the size of the range. A seek to its end fails, from every origin. SetEndOfFile cuts the range
    /// at the cursor; the array stays as it is.
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
    long long Move(void* to, const void* from, long long count);

    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> m_array;
    unsigned char* m_start;
    unsigned char* m_cursor;
    unsigned char* m_end;
    bool m_failed = false;
};
