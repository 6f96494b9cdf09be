// A memory stream beside its rules: one cursor, and an end that no transfer reaches. The first byte is the array's length.

#include "StreamScript.h"

ZV_MODULE("App", nullptr, nullptr)

namespace {

class Twin {
public:
    explicit Twin(size_t size) : m_bytes(size, '\0'), m_end(static_cast<long long>(size)) {}
    long long Write(const void* data, long long count) {
        const long long moved = Fit(count);
        if (moved > 0) std::memcpy(m_bytes.data() + m_at, data, static_cast<size_t>(moved));
        return Passed(count);
    }
    long long Read(void* data, long long count) {
        const long long moved = Fit(count);
        if (moved > 0) std::memcpy(data, m_bytes.data() + m_at, static_cast<size_t>(moved));
        return Passed(count);
    }
    long long Tellp() const { return m_at; }
    long long Tellg() const { return m_at; }
    void Seekp(long long offset, int origin) {
        const long long target = offset + (origin == 0 ? 0 : origin == 1 ? m_at : m_end);
        if (target >= 0 && target < m_end)
            m_at = target;
        else
            m_failed = true;
    }
    void Seekg(long long offset, int origin) { Seekp(offset, origin); }
    void Flush() {}
    bool Fail() const { return m_failed; }
    bool SetEndOfFile() {
        m_end = m_at;
        return true;
    }
    long long Length() const { return m_end; }
    const std::string& Bytes() const { return m_bytes; }

private:
    long long Fit(long long count) const { return std::min(count, m_end - m_at); }
    long long Passed(long long count) {
        if (m_at + count < m_end) {
            m_at += count;
            return count;
        }
        m_failed = true;
        return m_end - m_at;
    }

    std::string m_bytes;
    long long m_at = 0, m_end;
    bool m_failed = false;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Script script(data, size);
    const size_t length = script.Count();
    ByteArray bytes = new ZvPrimArray<unsigned char>(length, nullptr);
    if (length != 0) std::memset(bytes->GetBaseAddress(), 0, length);
    Twin twin(length);
    if (Play(new ZvMemoryStream(bytes), twin, script) && length != 0)
        Require(std::memcmp(bytes->GetBaseAddress(), twin.Bytes().data(), length) == 0);
    return 0;
}
