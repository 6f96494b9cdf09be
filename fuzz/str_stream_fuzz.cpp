// A string stream beside a standard one on a buffer of its own. The first bytes are the buffer's length, what stands in it,
// and the mode.

#undef __DEPRECATED
#include <strstream>

#include "StreamScript.h"

#include <vector>

ZV_MODULE("App", nullptr, nullptr)

namespace {

constexpr std::ios_base::seekdir Directions[] = {std::ios_base::beg, std::ios_base::cur, std::ios_base::end};

class Twin {
public:
    Twin(char* buffer, int size, int mode)
        : m_stream(buffer, size, (mode & 8) != 0 ? std::ios::in | std::ios::out | std::ios::app : std::ios::in | std::ios::out) {}
    long long Write(const void* data, long long count) {
        const long long before = m_stream.tellp();
        m_stream.write(static_cast<const char*>(data), count);
        return static_cast<long long>(m_stream.tellp()) - before;
    }
    long long Read(void* data, long long count) {
        const long long before = m_stream.tellg();
        m_stream.read(static_cast<char*>(data), count);
        return static_cast<long long>(m_stream.tellg()) - before;
    }
    long long Tellp() { return m_stream.tellp(); }
    long long Tellg() { return m_stream.tellg(); }
    void Seekp(long long offset, int origin) { m_stream.seekp(offset, Directions[origin]); }
    void Seekg(long long offset, int origin) { m_stream.seekg(offset, Directions[origin]); }
    void Flush() { m_stream.flush(); }
    bool Fail() const { return m_stream.fail(); }
    bool SetEndOfFile() const { return true; }
    long long Length() const { return m_stream.gcount(); }
    long long Written() const { return m_stream.pcount(); }

private:
    std::strstream m_stream;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Script script(data, size);
    const size_t length = script.Count() + 1;
    std::string text = script.Text(script.Byte() % length);
    text.resize(length, '\0');
    std::vector<char> mine(text.begin(), text.end()), its = mine;
    const int mode = script.Byte();
    auto* stream = new ZvStrStream(mine.data(), static_cast<long long>(length), mode);
    const ZvStream$ handle = stream;
    // The standard stream ends as far behind the text as it would behind the buffer's begin.
    const auto taken = (mode & 8) != 0 ? std::strlen(its.data()) : 0;
    Twin twin(its.data(), static_cast<int>(length - taken), mode);
    if (!Play(handle, twin, script)) return 0;
    Require(stream->Size() == twin.Written());
    Require(mine == its);
    Require(reinterpret_cast<char*>(stream->StartPointer()) == mine.data());
    return 0;
}
