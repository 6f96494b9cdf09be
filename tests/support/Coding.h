#pragma once

#include "Bytes.h"

#include <zvc/zvc.h>

#include <string>
#include <vector>

/// The bytes of what is written with one coder in a state, as hexadecimal digits, one text for each object.
inline std::vector<std::string> Written(const std::vector<ZvObject$>& objects, ZvStreamingContext::States state) {
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(state));
    std::vector<std::string> texts;
    for (const ZvObject$& o : objects) {
        ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(1 << 20, nullptr);
        ZvStream$ stream = new ZvMemoryStream(bytes);
        coder->Write(stream, o);
        const auto* at = static_cast<const char*>(bytes->GetBaseAddress());
        texts.push_back(ToHex(std::string(at, at + stream->Tellp())));
    }
    return texts;
}

/// A stream over the bytes that stand in a text of hexadecimal digits. Reading the very last one is a failure of the stream,
/// as of each memory stream; add a byte where that matters.
inline ZvStream$ StreamOf(const std::string& hex) {
    const std::string bytes = FromHex(hex);
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array =
        new ZvPrimArray<unsigned char>(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
    return new ZvMemoryStream(array);
}

/// What a new coder reads from such a text, one object after the other.
inline std::vector<ZvObject$> ReadBack(const std::string& hex, size_t count, ZvStreamingContext::States state) {
    ZvStream$ stream = StreamOf(hex + "00");
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(state));
    std::vector<ZvObject$> objects(count);
    for (ZvObject$& o : objects) coder->Read(stream, o);
    return objects;
}
