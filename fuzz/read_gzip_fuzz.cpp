// Any bytes read as a compressed file, through both streams. However the reading is cut into pieces, the content is the same,
// and a way back gives it again. The first byte chooses the stream, the second what is done on the way; the file follows.

#include "Scratch.h"
#include "StreamScript.h"

#include <sstream>

ZV_MODULE("App", nullptr, nullptr)

namespace {

constexpr size_t Enough = 1 << 20;           // bombs are not read to their end

/// Reads to the end, or enough.
std::string ReadAll(ZvStream& stream, size_t block) {
    std::string content, piece(block, '\0');
    while (content.size() < Enough) {
        const long long got = stream.Read(piece.data(), static_cast<long long>(block));
        Require(got <= static_cast<long long>(block));
        if (got <= 0) break;
        content.append(piece, 0, static_cast<size_t>(got));
    }
    return content;
}

/// A part of the content somewhere, behind a seek from one place to another.
void Wander(ZvStream& stream, const std::string& content, uint8_t choice) {
    const size_t step = content.size() / 7 + 1;
    size_t at = 0;
    for (int i = 0; i < 8; ++i) {
        at = (at + step * choice + static_cast<size_t>(i)) % (content.size() + 1);
        if ((choice & 1) != 0) {
            stream.Seekg(static_cast<long long>(at), ZvStream::Begin);
        } else {
            stream.Seekp(static_cast<long long>(at) - stream.Tellg(), ZvStream::Current);
        }
        const long long told = stream.Tellg();
        if (told < 0 || stream.Fail()) return;           // a damaged file does not come back from its damage
        Require(told == static_cast<long long>(at));
        std::string piece(17, '\0');
        const long long got = stream.Read(piece.data(), 17);
        if (got < 0) return;
        Require(content.compare(at, static_cast<size_t>(got), piece, 0, static_cast<size_t>(got)) == 0);
        at += static_cast<size_t>(got);
    }
}

template <class Open>
void ReadInEveryWay(Open open, uint8_t choice) {
    const ZvStream$ whole = open(), small = open(), wandering = open(), coded = open();
    const std::string content = ReadAll(*whole, 100000);
    const std::string pieces = ReadAll(*small, static_cast<size_t>(choice) + 1);
    const size_t common = std::min(content.size(), pieces.size());
    Require(content.compare(0, common, pieces, 0, common) == 0);
    if (content.size() < Enough) Require(content.size() == pieces.size() && whole->Fail() == small->Fail());
    Wander(*wandering, content, choice);
    ZvStream$ stream = coded;
    Decode(stream, choice & 1);
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const ScratchFile s_file("read_gzip");
    if (size < 2) return 0;
    const uint8_t stream = data[0], choice = data[1];
    const std::string file(reinterpret_cast<const char*>(data + 2), size - 2);
    if ((stream & 1) != 0) {
        std::stringstream streams[4];
        int next = 0;
        for (std::stringstream& s : streams) s.str(file);
        ReadInEveryWay([&] { return ZvStream$(ZvIStdIOZipStream::Create(streams[next++], ZvIStdIOZipStream::OpenRead)); }, choice);
    } else {
        s_file.SetContent(file.data(), file.size());
        ReadInEveryWay([&] { return ZvStream$(new ZvZipStream(s_file.Path(), "rb")); }, choice);
    }
    return 0;
}
