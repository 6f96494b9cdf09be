#pragma once

#include <zvc/zvc.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

/// Samples from the top row to the bottom one, for comparison with images of either order of rows.
struct Picture {
    int width = 0, height = 0, channels = 0, depth = 8;
    std::vector<uint16_t> samples;

    bool operator==(const Picture&) const = default;

    size_t RowSamples() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
};

/// Something with flat parts, gradients and noise in it.
inline Picture MakePicture(int width, int height, int channels, int depth, uint32_t seed = 1) {
    Picture p{width, height, channels, depth, {}};
    const uint32_t greatest = depth == 8 ? 255 : 65535;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                seed = seed * 1664525 + 1013904223;
                const auto ux = static_cast<uint32_t>(x), uy = static_cast<uint32_t>(y), uc = static_cast<uint32_t>(c);
                const uint32_t value = y * 3 < height ? (ux * 7 + uy * 13 + uc * 50) * (depth == 8 ? 1 : 251) : x * 3 < width ? greatest / (uc + 1) : seed >> 13;
                p.samples.push_back(static_cast<uint16_t>(value & greatest));
            }
    return p;
}

/// A smooth one, as a lossy format likes it.
inline Picture MakeSmooth(int width, int height, int channels) {
    Picture p{width, height, channels, 8, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                p.samples.push_back(static_cast<uint16_t>(c == 0 ? 255 * x / width : c == 1 ? 255 * y / height : 255 * (x + y) / (width + height)));
    return p;
}

/// pitch as Create takes it: 0 for its own.
inline ZvImage$ ToImage(const Picture& p, bool bottomUp = true, int pitch = 0) {
    const int packed = ZvImage::CalculateLinePitch(p.width, p.channels, p.depth);
    std::vector<unsigned char> zeros(static_cast<size_t>(p.height) * static_cast<size_t>(pitch != 0 ? pitch : packed));
    ZvImage$ image = new ZvImage(p.width, bottomUp ? p.height : -p.height, static_cast<char>(p.channels), static_cast<short>(p.depth), 0,
                                 zeros.data(), pitch != 0 ? pitch : packed, true);
    for (int y = 0; y < p.height; ++y) {
        unsigned char* row = image->GetLine(bottomUp ? p.height - 1 - y : y);
        const uint16_t* from = p.samples.data() + static_cast<size_t>(y) * p.RowSamples();
        for (size_t i = 0; i < p.RowSamples(); ++i) {
            if (p.depth == 8)
                row[i] = static_cast<unsigned char>(from[i]);
            else
                std::memcpy(row + 2 * i, from + i, 2);
        }
    }
    return image;
}

inline Picture FromImage(const ZvImage& image) {
    Picture p{image.GetWidth(), std::abs(image.GetHeight()), image.GetChannels(), image.GetDepth(), {}};
    for (int y = 0; y < p.height; ++y) {
        const unsigned char* row = image.GetLine(image.IsBottomUp() ? p.height - 1 - y : y);
        for (size_t i = 0; i < p.RowSamples(); ++i) {
            uint16_t value = row[p.depth == 8 ? i : 0];
            if (p.depth == 16) std::memcpy(&value, row + 2 * i, 2);
            p.samples.push_back(value);
        }
    }
    return p;
}

/// The binary file formats of the Netpbm tools (PGM, PPM, PAM), which are simple enough to be written here.
inline std::vector<unsigned char> ToNetpbm(const Picture& p) {
    static const char* const types[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
    const std::string header = "P7\nWIDTH " + std::to_string(p.width) + "\nHEIGHT " + std::to_string(p.height) + "\nDEPTH " +
                               std::to_string(p.channels) + "\nMAXVAL " + (p.depth == 8 ? "255" : "65535") + "\nTUPLTYPE " +
                               types[p.channels - 1] + "\nENDHDR\n";
    std::vector<unsigned char> bytes(header.begin(), header.end());
    for (const uint16_t s : p.samples) {
        if (p.depth == 16) bytes.push_back(static_cast<unsigned char>(s >> 8));
        bytes.push_back(static_cast<unsigned char>(s));
    }
    return bytes;
}

/// Samples of raw bytes, 16-bit ones high byte first.
inline Picture FromRaw(const std::vector<unsigned char>& bytes, int width, int height, int channels, int depth) {
    Picture p{width, height, channels, depth, {}};
    if (depth == 8)
        p.samples.assign(bytes.begin(), bytes.end());
    else
        for (size_t i = 0; i + 1 < bytes.size(); i += 2) p.samples.push_back(static_cast<uint16_t>(bytes[i] << 8 | bytes[i + 1]));
    return p;
}

/// Grey as RGB, and without alpha.
inline Picture ToRgb(const Picture& p) {
    Picture rgb{p.width, p.height, 3, p.depth, {}};
    const auto channels = static_cast<size_t>(p.channels);
    for (size_t i = 0; i < p.samples.size(); i += channels)
        for (size_t c = 0; c < 3; ++c) rgb.samples.push_back(p.samples[i + (channels < 3 ? 0 : c)]);
    return rgb;
}
