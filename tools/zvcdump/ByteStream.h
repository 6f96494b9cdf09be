#pragma once

#include <zvc/zvc.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace dump {

/// The bytes of a file as a stream that is read alone. It says how far it is, to the last byte.
class ByteStream : public ZvStream {
public:
    explicit ByteStream(const std::string& bytes) : m_bytes(bytes) {}

    size_t Position() const { return m_position; }
    size_t Left() const { return m_bytes.size() - m_position; }
    unsigned char Peek(size_t ahead) const {
        return ahead < Left() ? static_cast<unsigned char>(m_bytes[m_position + ahead]) : 0;
    }

    using ZvStream::Read;
    using ZvStream::Write;
    long long GetFileLength() override { return static_cast<long long>(m_bytes.size()); }
    long long Write(const void*, long long) override { return 0; }
    long long Read(void* buffer, long long count) override {
        const size_t n = std::min(static_cast<size_t>(std::max(count, 0LL)), Left());
        if (n != 0) std::memcpy(buffer, m_bytes.data() + m_position, n);
        m_position += n;
        m_failed = m_failed || static_cast<long long>(n) < count;
        return static_cast<long long>(n);
    }
    long long Tellp() const override { return Tellg(); }
    long long Tellg() const override { return static_cast<long long>(m_position); }
    void Flush() override {}
    void Seekp(long long, SeekOrigin) override { m_failed = true; }
    void Seekg(long long, SeekOrigin) override { m_failed = true; }
    bool Fail() const override { return m_failed; }
    bool SetEndOfFile() override { return false; }
    bool CanRead() const override { return true; }

private:
    const std::string& m_bytes;
    size_t m_position = 0;
    bool m_failed = false;
};

}
