#pragma once

// What the input says is done to a stream and to its twin, a plain model of what the stream is laid over. Both must answer
// the same, and hold the same in the end. The last word is a coder's, which finds whatever the script has left.

#include "serialization/CaseClasses.h"

#include <cstdint>
#include <cstring>
#include <string>

using ByteArray = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

/// Fails for good, where the fuzzer sees it.
inline void Require(bool holds) {
    if (!holds) __builtin_trap();
}

/// The input, a byte after the other, and zeros behind it.
class Script {
public:
    Script(const uint8_t* data, size_t size) : m_at(data), m_end(data + size) {}
    bool Done() const { return m_at == m_end; }
    uint8_t Byte() { return Done() ? uint8_t(0) : *m_at++; }
    size_t Count() {                         // mostly small, sometimes beyond what buffers hold
        const uint8_t byte = Byte();
        return byte < 0xF0 ? byte : static_cast<size_t>(byte - 0xEF) * 1500;
    }
    long long Offset() {                     // near zero in both directions; files must not grow without an end
        const int low = Byte();
        return static_cast<int16_t>(low | Byte() << 8) / 2;
    }
    std::string Text(size_t count) {
        std::string text;
        while (text.size() < count && !Done()) text.push_back(static_cast<char>(Byte()));
        text.resize(count, '.');
        return text;
    }

private:
    const uint8_t* m_at;
    const uint8_t* m_end;
};

template <class T, class Twin>
void WriteTyped(ZvStream& stream, Twin& twin, Script& script) {
    T value{};
    const std::string bytes = script.Text(sizeof value);
    if constexpr (std::is_same_v<T, bool>)
        value = (bytes[0] & 1) != 0;
    else
        std::memcpy(&value, bytes.data(), sizeof value);
    stream.Write(value);
    const size_t width = std::is_same_v<T, long> || std::is_same_v<T, unsigned long> ? 4 : sizeof value;
    twin.Write(&value, static_cast<long long>(width));
}

template <class T, class Twin>
void ReadTyped(ZvStream& stream, Twin& twin) {
    constexpr size_t width = std::is_same_v<T, long> || std::is_same_v<T, unsigned long> ? 4 : sizeof(T);
    T value{};
    stream.Read(value);
    unsigned char bytes[width]{};
    twin.Read(bytes, static_cast<long long>(width));
    if constexpr (std::is_same_v<T, bool>)
        Require(value == (bytes[0] != 0));
    else
        Require(std::memcmp(&value, bytes, width) == 0);
}

template <class Twin>
void Transfer(ZvStream& stream, Twin& twin, Script& script, bool write) {
    const size_t count = script.Count();
    if (write) {
        const std::string text = script.Text(count);
        const long long done = stream.Write(text.data(), static_cast<long long>(count));
        Require(done == twin.Write(text.data(), static_cast<long long>(count)));
    } else {
        std::string mine(count, '\0'), its(count, '\0');
        const long long done = stream.Read(mine.data(), static_cast<long long>(count));
        Require(done == twin.Read(its.data(), static_cast<long long>(count)));
        Require(mine == its);
    }
}

/// Reads objects from wherever the script has left the stream: values, or the coder's exception.
inline void Decode(ZvStream$& stream, int state, int count = 4) {
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(static_cast<ZvStreamingContext::States>(state)));
    try {
        for (int i = 0; i < count; ++i) {
            ZvObject$ object;
            coder->Read(stream, object);
        }
    } catch (const ZvCoderException&) {
    }
}

/// Twin has Write, Read, Tellp, Tellg, Seekp, Seekg, Flush, Fail, SetEndOfFile and Length. False when a coder had the last
/// word: a twin does not follow it.
template <class Twin>
bool Play(ZvStream$ handle, Twin& twin, Script& script) {
    ZvStream& stream = *handle;
    for (int step = 0; step < 200 && !script.Done(); ++step) {
        const int what = script.Byte() & 31;
        switch (what) {
            case 0: case 1: case 2: case 3: Transfer(stream, twin, script, true); break;
            case 4: case 5: case 6: case 7: Transfer(stream, twin, script, false); break;
            case 8: case 9: case 10: case 11: {
                const long long offset = script.Offset();
                const auto origin = static_cast<ZvStream::SeekOrigin>(script.Byte() & 3);      // 3 is none
                if (what < 10) stream.Seekp(offset, origin);
                if (what >= 10) stream.Seekg(offset, origin);
                if (origin != 3 && what < 10) twin.Seekp(offset, origin);
                if (origin != 3 && what >= 10) twin.Seekg(offset, origin);
                break;
            }
            case 12: Require(stream.Fail() == twin.Fail()); break;
            case 13: stream.Flush(); twin.Flush(); break;
            case 14: Require(stream.SetEndOfFile() == twin.SetEndOfFile()); break;
            case 15: Require(stream.GetFileLength() == twin.Length()); break;
            case 16: WriteTyped<bool>(stream, twin, script); break;
            case 17: WriteTyped<char>(stream, twin, script); break;
            case 18: WriteTyped<unsigned short>(stream, twin, script); break;
            case 19: WriteTyped<int>(stream, twin, script); break;
            case 20: WriteTyped<long>(stream, twin, script); break;
            case 21: WriteTyped<unsigned long long>(stream, twin, script); break;
            case 22: WriteTyped<float>(stream, twin, script); break;
            case 23: WriteTyped<double>(stream, twin, script); break;
            case 24: ReadTyped<bool>(stream, twin); break;
            case 25: ReadTyped<unsigned char>(stream, twin); break;
            case 26: ReadTyped<short>(stream, twin); break;
            case 27: ReadTyped<unsigned int>(stream, twin); break;
            case 28: ReadTyped<unsigned long>(stream, twin); break;
            case 29: ReadTyped<long long>(stream, twin); break;
            case 30: ReadTyped<double>(stream, twin); break;
            default: Decode(handle, script.Byte() & 1); return false;
        }
        Require(stream.Tellp() == twin.Tellp() && stream.Tellg() == twin.Tellg());
    }
    Require(stream.Fail() == twin.Fail());
    return true;
}

// One file a program includes this header. A box or an array of plain pointers owns nothing by design: what only it refers to
// is its reader's to free, and so no leak.
extern "C" const char* __asan_default_options() { return "detect_leaks=0:allocator_may_return_null=1"; }
