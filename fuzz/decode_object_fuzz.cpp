// Any bytes through DecodeObject: a value or a ZvCoderException, and nothing else. The first byte chooses whether objects
// are tracked and which stream carries the bytes.

#include "serialization/CaseClasses.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

ZV_MODULE("App", nullptr, nullptr)

namespace {

using Bytes = ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$>;

const char* TemporaryFile() {
    static const std::string s_path = [] {
        char name[] = "/tmp/zvc-fuzz-XXXXXX";
        if (mkstemp(name) < 0) std::abort();
        return std::string(name);
    }();
    return s_path.c_str();
}

void DecodeAll(ZvStream$& stream, int state) {
    ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(static_cast<ZvStreamingContext::States>(state)));
    try {
        for (int i = 0; i < 16; ++i) {
            ZvObject$ object;
            coder->Read(stream, object);
        }
    } catch (const ZvCoderException&) {
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const int choice = data[0];
    const int state = choice & 1;
    ++data;
    --size;
    if ((choice & 6) == 0) {
        Bytes bytes = new ZvPrimArray<unsigned char>(size + 1, nullptr);
        std::memcpy(bytes->GetBaseAddress(), data, size);
        (*bytes)[size] = 0;
        ZvStream$ stream = new ZvMemoryStream(bytes);
        DecodeAll(stream, state);
    } else if ((choice & 6) == 2) {
        FILE* file = std::fopen(TemporaryFile(), "wb");
        std::fwrite(data, 1, size, file);
        std::fclose(file);
        ZvStream$ stream = new ZvFileStream(TemporaryFile(), ZvFile::Read, ZvFile::Open);
        DecodeAll(stream, state);
    } else if ((choice & 6) == 4) {
        std::stringstream text(std::string(reinterpret_cast<const char*>(data), size));
        ZvStream$ stream = new ZvStdIOStream(text);
        DecodeAll(stream, state);
    } else {
        FILE* file = std::fopen(TemporaryFile(), "wb");
        std::fwrite(data, 1, size, file);
        std::fclose(file);
        ZvStream$ stream = new ZvStdFILEStream(TemporaryFile(), "rb");
        DecodeAll(stream, state);
    }
    return 0;
}

// A box or an array of plain pointers owns nothing by design: what only it refers to is its reader's to free.
extern "C" const char* __asan_default_options() { return "detect_leaks=0:allocator_may_return_null=1"; }
