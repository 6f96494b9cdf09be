// Any bytes through one codec, whose sources are linked here: false, or an image whose pixels are all there and that comes
// back from a file of the codec's own.

#include <zvc/zvc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <zlib.h>

namespace {

void Expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

ZvImage$ Decode(ZvStream$& stream) {
    ZvImgCodec$ codec = ZvImgCodec::s_root->create(stream);
    ZvImage$ image = new ZvImage;
    return codec->DecodeImage(image.Get()) ? image : ZvImage$();
}

// The sum is of no account: the sanitizers watch the reading.
unsigned Sum(const ZvImage$& image) {
    unsigned sum = 0;
    for (int y = 0; y < std::abs(image->GetHeight()); ++y)
        for (int i = 0; i < image->GetWidth() * image->GetPixelPitch(); ++i) sum += image->GetLine(y)[i];
    return sum;
}

void ExpectSameAgain(const ZvImage$& image) {
    std::stringstream text;
    ZvStream$ stream = new ZvStdIOStream(text);
    ZvImgCodec$ codec = ZvImgCodec::s_root->create(stream);
    const bool written = codec->EncodeImage(image.Get(), 0, nullptr, nullptr);
    const std::string format = ZvImgCodec::s_root->extensions;
    if (format.find(".hdr") != std::string::npos && !written) return;        // not every four bytes are a pixel there
    Expect(written, "what was read cannot be written");
    const ZvImage$ again = Decode(stream);
    Expect(!!again, "what was written cannot be read");
    Expect(again->GetWidth() == image->GetWidth() && again->GetHeight() == image->GetHeight() && again->GetDepth() == image->GetDepth() &&
               again->GetChannels() == image->GetChannels(),
           "it comes back in another layout");
    if (format.find(".jpg") == std::string::npos) Expect(again->Equals(image.Get()), "it comes back with other pixels");
}

// Sums that damage would never match are put right, so that what they cover is tried as well: those of PNG's chunks.
void MendSums(unsigned char* file, size_t size) {
    if (size < 8 || std::memcmp(file, "\x89PNG", 4) != 0) return;
    for (size_t at = 8; size - at >= 12;) {
        const size_t length = size_t(file[at]) << 24 | size_t(file[at + 1]) << 16 | size_t(file[at + 2]) << 8 | file[at + 3];
        if (length > size - at - 12) return;
        const unsigned long sum = crc32(0, file + at + 4, static_cast<unsigned>(length + 4));
        for (int i = 0; i < 4; ++i) file[at + 8 + length + static_cast<size_t>(i)] = static_cast<unsigned char>(sum >> (24 - 8 * i));
        at += 12 + length;
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(size + 1, nullptr);
    if (size != 0) std::memcpy(bytes->GetBaseAddress(), data, size);
    (*bytes)[size] = 0;
    MendSums(static_cast<unsigned char*>(bytes->GetBaseAddress()), size);
    ZvStream$ stream = new ZvMemoryStream(bytes);
    const ZvImage$ image = Decode(stream);
    if (!image) return 0;
    Expect(image->GetBaseAddress() != nullptr && image->GetWidth() > 0 && image->GetHeight() != 0, "an image without pixels");
    [[maybe_unused]] static volatile unsigned s_sum;
    s_sum = Sum(image);
    if (image->GetLinePitch() * std::abs(image->GetHeight()) < 1 << 18) ExpectSameAgain(image);
    return 0;
}
