// A stream on a standard-library stream beside such a stream. The first bytes are what it holds.

#include "StreamScript.h"

#include <sstream>

ZV_MODULE("App", nullptr, nullptr)

namespace {

constexpr std::ios_base::seekdir Directions[] = {std::ios_base::beg, std::ios_base::cur, std::ios_base::end};

class Twin {
public:
    explicit Twin(const std::string& content) : m_stream(content) {}
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
    bool SetEndOfFile() const { return false; }
    long long Length() const { return -1; }
    std::string Content() const { return m_stream.str(); }

private:
    std::stringstream m_stream;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Script script(data, size);
    const std::string content = script.Text(script.Count());
    std::stringstream wrapped(content);
    Twin twin(content);
    if (Play(new ZvStdIOStream(wrapped), twin, script)) Require(wrapped.str() == twin.Content());
    return 0;
}
