#pragma once

// What a value writes through the binary coder as hex text, and the way back.

#include "zvc/serialization/ZvBinaryCoder.h"
#include "zvc/serialization/ZvMemoryStream.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace encoded {

using ByteArray$ = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

inline std::string ToHex(const ZvPrimArray<unsigned char>& bytes, size_t count) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (size_t i = 0; i < count; ++i) {
        hex += digits[bytes[i] >> 4];
        hex += digits[bytes[i] & 15];
    }
    return hex;
}

/// What write(stream, coder) writes.
template <class F>
std::string Written(ZvCoder& coder, F write, size_t room = 1 << 16) {
    ByteArray$ bytes = new ZvPrimArray<unsigned char>(room, nullptr);
    ZvStream$ stream = new ZvMemoryStream(bytes);
    write(stream, &coder);
    return ToHex(*bytes, static_cast<size_t>(stream->Tellp()));
}

template <class F>
std::string Written(F write) {
    ZvHandle<ZvBinaryCoder, ZvObject$> coder = new ZvBinaryCoder(nullptr);
    return Written(*coder, write);
}

inline std::string Of(const ZvObject& object) {
    return Written([&](ZvStream$& stream, ZvCoder* coder) { object.Encode(stream, coder); });
}

/// A stream over the bytes of a hex text. One byte stands behind them, for a memory stream never gives its last byte.
inline ZvStream$ StreamOf(const std::string& hex) {
    ByteArray$ bytes = new ZvPrimArray<unsigned char>(hex.size() / 2 + 1, nullptr);
    for (size_t i = 0; i < hex.size() / 2; ++i)
        (*bytes)[i] = static_cast<unsigned char>(std::strtoul(hex.substr(2 * i, 2).c_str(), nullptr, 16));
    (*bytes)[hex.size() / 2] = 0;
    return new ZvMemoryStream(bytes);
}

/// Calls read(stream, coder) on the bytes of a hex text.
template <class F>
void ReadFrom(const std::string& hex, F read) {
    ZvStream$ stream = StreamOf(hex);
    ZvHandle<ZvBinaryCoder, ZvObject$> coder = new ZvBinaryCoder(nullptr);
    read(stream, coder.Get());
}

inline void Into(ZvObject& object, const std::string& hex) {
    ReadFrom(hex, [&](ZvStream$& stream, ZvCoder* coder) { object.Decode(stream, coder); });
}

/// Another class than the library's own coder: it sees every element, and can be told to leave floats alone.
class OtherCoder : public ZvBinaryCoder {
public:
    OtherCoder() : ZvBinaryCoder(nullptr) {}

    using ZvBinaryCoder::Read;
    using ZvBinaryCoder::Write;
    void Write(ZvStream$& stream, float value) override {
        ++floatsWritten;
        ZvBinaryCoder::Write(stream, value);
    }
    void Write(ZvStream$& stream, unsigned int count, const float* values) override {
        ++bulkWrites;
        ZvBinaryCoder::Write(stream, count, values);
    }
    void Write(ZvStream$& stream, const zvcolor& value) override {
        ++coloursWritten;
        ZvBinaryCoder::Write(stream, value);
    }
    void Read(ZvStream$& stream, float& value) override {
        if (!skipsFloats) ZvBinaryCoder::Read(stream, value);
    }
    void Read(ZvStream$& stream, int& value) override {
        ++intsRead;
        ZvBinaryCoder::Read(stream, value);
    }

    bool skipsFloats = false;
    int floatsWritten = 0;
    int bulkWrites = 0;
    int coloursWritten = 0;
    int intsRead = 0;
};

}
