// A file stream beside its rules: one position of 32 bits, the rights of its opening, and a failure flag that each transfer
// sets anew. The first bytes are the access, the mode, and what the file holds.

#include "Scratch.h"
#include "StreamScript.h"

ZV_MODULE("App", nullptr, nullptr)

namespace {

class Twin {
public:
    Twin(std::string content, int access, int mode)
        : m_bytes(std::move(content)), m_open(mode != ZvFile::CreateNew && mode <= ZvFile::Truncate),
          m_reads(m_open && access == ZvFile::Read), m_writes(m_open && access == ZvFile::Write) {
        if (mode == ZvFile::Create || mode == ZvFile::Truncate) m_bytes.clear();
        if (mode == ZvFile::Append) m_at = Size();
    }
    long long Write(const void* data, long long count) {
        m_failed = !m_writes;
        if (m_failed || count == 0) return 0;
        if (Size() < m_at + count) m_bytes.resize(static_cast<size_t>(m_at + count), '\0');
        std::memcpy(m_bytes.data() + m_at, data, static_cast<size_t>(count));
        m_at += count;
        return count;
    }
    long long Read(void* data, long long count) {
        m_failed = !m_reads;
        if (m_failed) return 0;
        const long long there = std::max(0LL, std::min(count, Size() - m_at));
        std::memcpy(data, m_bytes.data() + std::min(m_at, Size()), static_cast<size_t>(there));
        m_at += there;
        return there;
    }
    long long Tellp() const { return m_open ? m_at : 0xFFFFFFFFLL; }
    long long Tellg() const { return Tellp(); }
    void Seekp(long long offset, int origin) { Seekg(origin == 2 ? 0 : offset, origin); }
    void Seekg(long long offset, int origin) {
        const long long target = offset + (origin == 0 ? 0 : origin == 1 ? m_at : Size());
        if (m_open && target >= 0) m_at = target;
    }
    void Flush() { m_failed = !m_writes; }
    bool Fail() const { return m_failed; }
    bool SetEndOfFile() {
        if (m_writes) m_bytes.resize(static_cast<size_t>(m_at), '\0');
        return m_writes;
    }
    long long Length() const { return m_open ? Size() : 0xFFFFFFFFLL; }
    const std::string& Bytes() const { return m_bytes; }

private:
    long long Size() const { return static_cast<long long>(m_bytes.size()); }

    std::string m_bytes;
    const bool m_open, m_reads, m_writes;
    long long m_at = 0;
    bool m_failed = false;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFile s_file("file_stream");
    Script script(data, size);
    const int access = script.Byte() & 3, mode = script.Byte() & 7;
    const std::string content = script.Text(script.Count());
    s_file.SetContent(content.data(), content.size());
    ZvStream$ stream = new ZvFileStream(s_file.Path(), static_cast<ZvFile::Access>(access), static_cast<ZvFile::Mode>(mode));
    Twin twin(content, access, mode);
    if (!Play(stream, twin, script)) return 0;
    stream = nullptr;
    Require(s_file.Content() == twin.Bytes());
    return 0;
}
