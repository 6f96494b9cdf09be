#include "Convert.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace imagetool {

namespace {

constexpr char PackedColours = 'E';
constexpr float Gamma = 2.2f;

int Rows(const ZvImage& image) { return std::abs(image.GetHeight()); }

int SampleAt(const unsigned char* row, size_t i, int depth) {
    if (depth == 8) return row[i];
    uint16_t word;
    std::memcpy(&word, row + i * 2, 2);
    return word;
}

void PutSample(unsigned char* row, size_t i, int depth, int value) {
    if (depth == 8) {
        row[i] = static_cast<unsigned char>(value);
        return;
    }
    const auto word = static_cast<uint16_t>(value);
    std::memcpy(row + i * 2, &word, 2);
}

ZvImage$ NewImage(const ZvImage$& like, int channels, int depth, char sampleType = 0) {
    return new ZvImage(like->GetWidth(), like->GetHeight(), static_cast<char>(channels), static_cast<short>(depth), sampleType, nullptr, 0, true);
}

/// Every sample by a function of its value.
template <class Function>
ZvImage$ Map(const ZvImage$& image, int depth, Function function) {
    ZvImage$ mapped = NewImage(image, image->GetChannels(), depth, image->GetSampleType());
    const auto samples = static_cast<size_t>(image->GetWidth()) * static_cast<size_t>(image->GetChannels());
    for (int y = 0; y < Rows(*image); ++y) {
        const unsigned char* from = image->GetLine(y);
        unsigned char* to = mapped->GetLine(y);
        for (size_t i = 0; i < samples; ++i) PutSample(to, i, depth, function(SampleAt(from, i, image->GetDepth())));
    }
    return mapped;
}

ZvImage$ ConvertDepth(const ZvImage$& image, int depth) {
    if (depth == image->GetDepth()) return image;
    if (depth == 16) return Map(image, 16, [](int v) { return v * 257; });
    return Map(image, 8, [](int v) { return (v + 128) / 257; });
}

}

bool IsPacked(const ZvImage$& image) {
    return image->GetSampleType() == PackedColours && image->GetChannels() == 4 && image->GetDepth() == 8;
}

ZvImage$ Develop(const ZvImage$& packed, double stops) {
    ZvImage$ developed = NewImage(packed, 3, 8);
    const float scale = static_cast<float>(std::exp2(stops));
    const zvcolor gamma(1 / Gamma);
    for (int y = 0; y < Rows(*packed); ++y) {
        unsigned char* to = developed->GetLine(y);
        for (int x = 0; x < packed->GetWidth(); ++x) {
            const unsigned char* p = packed->GetPixel(x, y);
            const zvcolor light = zvcolor(zvpackedcolor(p[0], p[1], p[2], p[3])) * scale;
            const zvcolor shown = light.clamp(zvcolor::black, zvcolor::white).pow(gamma);
            for (int c = 0; c < 3; ++c) *to++ = static_cast<unsigned char>(shown[c] * 255 + 0.5f);
        }
    }
    return developed;
}

ZvImage$ Pack(const ZvImage$& image) {
    ZvImage$ packed = NewImage(image, 4, 8, PackedColours);
    const zvcolor gamma(Gamma);
    for (int y = 0; y < Rows(*image); ++y)
        for (int x = 0; x < image->GetWidth(); ++x) {
            float v[3];
            image->GetPixelValue(x, y, 3, v, 0);
            if (image->GetChannels() < 3) v[1] = v[2] = v[0];
            const zvpackedcolor p(zvcolor(v[0], v[1], v[2]).pow(gamma));
            std::memcpy(packed->GetPixel(x, y), &p, 4);
        }
    return packed;
}

ZvImage$ Convert(const ZvImage$& image, int channels, int depth) {
    const int from = image->GetChannels();
    if (channels == from) return ConvertDepth(image, depth);
    ZvImage$ converted = NewImage(image, channels, image->GetDepth());
    const bool wasColour = from > 2, colour = channels > 2, alpha = channels % 2 == 0;
    for (int y = 0; y < Rows(*image); ++y) {
        const unsigned char* source = image->GetLine(y);
        unsigned char* target = converted->GetLine(y);
        size_t to = 0;
        for (size_t at = 0; at < static_cast<size_t>(image->GetWidth()) * static_cast<size_t>(from); at += static_cast<size_t>(from)) {
            const auto sample = [&](size_t c) { return SampleAt(source, at + c, image->GetDepth()); };
            const auto put = [&](int value) { PutSample(target, to++, image->GetDepth(), value); };
            if (colour)
                for (size_t c = 0; c < 3; ++c) put(sample(wasColour ? c : 0));
            else if (wasColour)
                put(static_cast<int>(zvcolor(float(sample(0)), float(sample(1)), float(sample(2))).y() + 0.5f));
            else
                put(sample(0));
            if (alpha) put(from % 2 == 0 ? sample(static_cast<size_t>(from) - 1) : image->GetDepth() == 8 ? 255 : 65535);
        }
    }
    return ConvertDepth(converted, depth);
}

ZvImage$ ToHeadroom(const ZvImage$& image) {
    if (image->GetDepth() == 8) return Map(image, 16, [](int v) { return 16384 + v * 128; });
    return Map(image, 16, [](int v) { return 16384 + v / 2; });
}

ZvImage$ FromHeadroom(const ZvImage$& image, int depth) {
    if (depth == 8) return Map(image, 8, [](int v) { return std::clamp((v - 16384 + 64) / 128, 0, 255); });
    return Map(image, 16, [](int v) { return std::clamp((v - 16384) * 2, 0, 65535); });
}

}
