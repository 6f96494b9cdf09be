// Any bytes through DecodeObject: a value or a ZvCoderException, and nothing else. The first byte chooses whether objects
// are tracked and which stream carries the bytes.

#include "Scratch.h"
#include "StreamScript.h"

#include <sstream>
#include <vector>

ZV_MODULE("App", nullptr, nullptr)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFile s_file("decode_object");
    if (size == 0) return 0;
    const int choice = data[0];
    const int state = choice & 1, kind = choice >> 1 & 7;
    ++data;
    --size;
    std::vector<char> text(data, data + size);
    std::stringstream wrapped;
    ZvStream$ stream;
    if (kind == 0) {
        text.push_back('\0');                // the stream never passes its last byte
        ByteArray bytes = new ZvPrimArray<unsigned char>(text.size(), reinterpret_cast<unsigned char*>(text.data()));
        stream = new ZvMemoryStream(bytes);
    } else if (kind == 1) {
        s_file.SetContent(data, size);
        stream = new ZvFileStream(s_file.Path(), ZvFile::Read, ZvFile::Open);
    } else if (kind == 2) {
        wrapped.write(text.data(), static_cast<std::streamsize>(size));
        stream = new ZvStdIOStream(wrapped);
    } else if (kind == 3) {
        s_file.SetContent(data, size);
        stream = new ZvStdFILEStream(s_file.Path(), "rb");
    } else {
        std::vector<char> room(size + 1);
        stream = new ZvStrStream(room.data(), static_cast<long long>(room.size()), 0);
        stream->Write(text.data(), static_cast<long long>(size));
        Decode(stream, state, 16);
        stream = nullptr;                    // before its buffer
        return 0;
    }
    Decode(stream, state, 16);
    return 0;
}
