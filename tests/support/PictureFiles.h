#pragma once

#include <zvc/zvc.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// Picture files made byte by byte, without any of the codecs' libraries.
using FileData = std::vector<unsigned char>;

inline ZvStream$ MemoryOf(const FileData& bytes) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array = new ZvPrimArray<unsigned char>(bytes.size(), nullptr);
    if (!bytes.empty()) std::memcpy(array->GetBaseAddress(), bytes.data(), bytes.size());
    return new ZvMemoryStream(array);
}

inline bool LoadBytes(const FileData& bytes, ZvImage& image) {
    ZvStream$ stream = MemoryOf(bytes);
    return image.Load(stream);
}

inline void Append(FileData& to, const FileData& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }
inline void AppendText(FileData& to, const std::string& text) { to.insert(to.end(), text.begin(), text.end()); }

inline FileData Little(uint64_t value, int bytes) {
    FileData data;
    for (int i = 0; i < bytes; ++i) data.push_back(static_cast<unsigned char>(value >> (8 * i)));
    return data;
}

inline FileData Big(uint64_t value, int bytes) {
    FileData data;
    for (int i = bytes - 1; i >= 0; --i) data.push_back(static_cast<unsigned char>(value >> (8 * i)));
    return data;
}

// ---- PNG ----

inline uint32_t PngCrc(const FileData& bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
    }
    return ~crc;
}

inline FileData PngChunk(const std::string& type, const FileData& content) {
    FileData named(type.begin(), type.end()), chunk = Big(content.size(), 4);
    Append(named, content);
    Append(chunk, named);
    Append(chunk, Big(PngCrc(named), 4));
    return chunk;
}

/// A zlib stream of one stored block: at most 65535 bytes.
inline FileData Stored(const FileData& bytes) {
    FileData stream = {0x78, 0x01, 0x01};
    Append(stream, Little(bytes.size(), 2));
    Append(stream, Little(~bytes.size() & 0xFFFF, 2));
    Append(stream, bytes);
    uint32_t a = 1, b = 0;
    for (const unsigned char byte : bytes) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    Append(stream, Big(b << 16 | a, 4));
    return stream;
}

/// rows: each with the byte of its filter ahead. chunks stand between the header and the rows.
inline FileData PngFile(uint32_t width, uint32_t height, int bits, int colour, const FileData& rows, const std::vector<FileData>& chunks = {}) {
    FileData file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header = Big(width, 4);
    Append(header, Big(height, 4));
    Append(header, {static_cast<unsigned char>(bits), static_cast<unsigned char>(colour), 0, 0, 0});
    Append(file, PngChunk("IHDR", header));
    for (const FileData& chunk : chunks) Append(file, chunk);
    Append(file, PngChunk("IDAT", Stored(rows)));
    Append(file, PngChunk("IEND", {}));
    return file;
}

// ---- BMP ----

/// rest: what stands behind a header of 40 bytes; its first `before` bytes are masks or a palette, and pixels follow.
inline FileData BmpFile(int32_t width, int32_t height, int bits, int compression, size_t before, const FileData& rest, uint32_t used = 0) {
    FileData file = {'B', 'M'};
    Append(file, Little(54 + rest.size(), 4));
    Append(file, Little(0, 4));
    Append(file, Little(54 + before, 4));
    Append(file, Little(40, 4));
    Append(file, Little(static_cast<uint32_t>(width), 4));
    Append(file, Little(static_cast<uint32_t>(height), 4));
    Append(file, Little(1, 2));
    Append(file, Little(static_cast<uint64_t>(bits), 2));
    Append(file, Little(static_cast<uint64_t>(compression), 4));
    Append(file, Little(0, 4));
    Append(file, Little(2835, 4));
    Append(file, Little(2835, 4));
    Append(file, Little(used, 4));
    Append(file, Little(0, 4));
    Append(file, rest);
    return file;
}

// ---- TIFF ----

struct TiffEntry {
    int tag, type;                 ///< type 3 is 16 bits, 4 is 32 bits
    uint32_t count, value;
};

/// The header, then one directory at byte 8, then rest.
inline FileData TiffFile(bool bigEndian, const std::vector<TiffEntry>& entries, const FileData& rest) {
    const auto number = [&](uint64_t value, int bytes) { return bigEndian ? Big(value, bytes) : Little(value, bytes); };
    FileData file;
    AppendText(file, bigEndian ? "MM" : "II");
    Append(file, number(42, 2));
    Append(file, number(8, 4));
    Append(file, number(entries.size(), 2));
    for (const TiffEntry& e : entries) {
        Append(file, number(static_cast<uint64_t>(e.tag), 2));
        Append(file, number(static_cast<uint64_t>(e.type), 2));
        Append(file, number(e.count, 4));
        if (e.type == 3 && e.count == 1) {             // a short one stands at the beginning of its place
            Append(file, number(e.value, 2));
            Append(file, {0, 0});
        } else {
            Append(file, number(e.value, 4));
        }
    }
    Append(file, number(0, 4));
    Append(file, rest);
    return file;
}

/// Bytes ahead of rest, in a file with so many entries.
inline uint32_t TiffRest(size_t entries) { return static_cast<uint32_t>(8 + 2 + entries * 12 + 4); }

/// Grey, one strip that is not compressed.
inline FileData TiffGrey(bool bigEndian, uint32_t width, uint32_t height, int bits, const FileData& pixels, const std::vector<TiffEntry>& more = {}) {
    std::vector<TiffEntry> entries = {{256, 4, 1, width}, {257, 4, 1, height}, {258, 3, 1, static_cast<uint32_t>(bits)}, {259, 3, 1, 1},
                                      {262, 3, 1, 1},     {277, 3, 1, 1},      {278, 4, 1, height}};
    entries.insert(entries.end(), more.begin(), more.end());
    entries.push_back({273, 4, 1, TiffRest(entries.size() + 2)});
    entries.push_back({279, 4, 1, static_cast<uint32_t>(pixels.size())});
    std::sort(entries.begin(), entries.end(), [](const TiffEntry& a, const TiffEntry& b) { return a.tag < b.tag; });
    return TiffFile(bigEndian, entries, pixels);
}

// ---- JPEG ----

/// Grey, progressive, each scan with nothing but the average of each block, which is middle grey: of every 8 x 8 pixels one
/// bit is stored.
inline FileData JpegOfAverages(int width, int height, int scans) {
    FileData file = {0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00};
    file.resize(file.size() + 64, 1);
    Append(file, {0xFF, 0xC2, 0x00, 0x0B, 0x08});
    Append(file, Big(static_cast<uint64_t>(height), 2));
    Append(file, Big(static_cast<uint64_t>(width), 2));
    Append(file, {0x01, 0x01, 0x11, 0x00});
    Append(file, {0xFF, 0xC4, 0x00, 0x14, 0x00, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x00});
    const int blocks = (width + 7) / 8 * ((height + 7) / 8);
    for (int i = 0; i < scans; ++i) {
        Append(file, {0xFF, 0xDA, 0x00, 0x08, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00});
        file.resize(file.size() + static_cast<size_t>(blocks / 8), 0x00);
        if (blocks % 8 != 0) file.push_back(static_cast<unsigned char>(0xFF >> (blocks % 8)));
    }
    Append(file, {0xFF, 0xD9});
    return file;
}

// ---- Radiance ----

inline FileData HdrFile(const std::string& resolution, const FileData& pixels) {
    FileData file;
    AppendText(file, "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n" + resolution + "\n");
    Append(file, pixels);
    return file;
}
