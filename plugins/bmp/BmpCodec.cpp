// BMP: grey or RGB of 8 bits, RGB with alpha where the file has it. All sizes of pixels, run lengths and both orders of rows are
// read; written are 8 bits of grey, 24 and 32 bits, in the image's own order of rows. Options: none.

#include "common/FileCodec.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

ZV_MODULE("bmp", nullptr, nullptr)

namespace zvc::codecs {

namespace {

constexpr int64_t BytesPerByte = 1024;         // a run of 255 pixels of three channels takes two bytes
constexpr size_t FileHeaderSize = 14, InfoHeaderSize = 40, AlphaHeaderSize = 108;

enum Compression : uint32_t { Rgb = 0, Rle8 = 1, Rle4 = 2, BitFields = 3, AlphaBitFields = 6 };

uint32_t Word(Bytes b, size_t at) { return static_cast<uint32_t>(b[at] | b[at + 1] << 8); }
uint32_t Long(Bytes b, size_t at) { return Word(b, at) | Word(b, at + 2) << 16; }

void PutWord(Buffer& b, uint32_t value) {
    b.push_back(static_cast<uint8_t>(value));
    b.push_back(static_cast<uint8_t>(value >> 8));
}
void PutLong(Buffer& b, uint32_t value) {
    PutWord(b, value & 0xFFFF);
    PutWord(b, value >> 16);
}

using Colour = std::array<uint8_t, 3>;         // red, green, blue

// The bits of one channel in a pixel.
struct Mask {
    uint32_t bits = 0;
    uint8_t Value(uint32_t pixel) const {
        if (bits == 0) return 0;
        const int shift = std::countr_zero(bits);
        const uint64_t greatest = bits >> shift;
        return static_cast<uint8_t>((((pixel & bits) >> shift) * uint64_t(255) + greatest / 2) / greatest);
    }
};

struct Header {
    int64_t width = 0, height = 0;             // a negative height is top-down, as an image's
    uint32_t bits = 0, compression = Rgb;
    size_t pixels = 0;                         // where they begin
    std::array<Mask, 4> masks;                 // red, green, blue, alpha
    std::vector<Colour> palette;
    bool grey = false;                         // all colours of the palette are

    bool Read(Bytes file);
    bool IsRunLength() const { return compression == Rle8 || compression == Rle4; }
    int Channels() const { return grey ? 1 : masks[3].bits != 0 ? 4 : 3; }
    size_t RowBytes() const { return (static_cast<size_t>(width) * bits + 31) / 32 * 4; }

private:
    bool ReadMasks(Bytes file, size_t size);
    bool ReadPalette(Bytes file, size_t at, size_t entry, uint32_t used);
};

bool Header::Read(Bytes file) {
    if (file.size() < FileHeaderSize + 12 || file[0] != 'B' || file[1] != 'M') return false;
    pixels = Long(file, 10);
    const size_t size = Long(file, 14);
    const bool old = size == 12;
    if ((!old && size < InfoHeaderSize) || size > file.size() - FileHeaderSize) return false;
    if (pixels < FileHeaderSize + size || pixels > file.size()) return false;
    uint32_t planes, used = 0;
    if (old) {
        width = Word(file, 18);
        height = Word(file, 20);
        planes = Word(file, 22);
        bits = Word(file, 24);
    } else {
        width = static_cast<int32_t>(Long(file, 18));
        height = static_cast<int32_t>(Long(file, 22));
        planes = Word(file, 26);
        bits = Word(file, 28);
        compression = Long(file, 30);
        used = Long(file, 46);
    }
    const bool known = bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (planes != 1 || !known || width <= 0 || height == 0) return false;
    switch (compression) {
        case Rgb: break;
        case Rle8:
        case Rle4:
            if (bits != (compression == Rle8 ? 8 : 4) || height < 0) return false;
            break;
        case BitFields:
        case AlphaBitFields:
            if (bits != 16 && bits != 32) return false;
            break;
        default: return false;
    }
    if (bits > 8) return ReadMasks(file, size);
    return ReadPalette(file, FileHeaderSize + size, old ? 3 : 4, used);
}

// The fourth byte of a pixel is alpha only where a mask says so. A file that promises masks and has none is damage: 5-5-5 and 5-6-5
// are equally likely then, and the wrong one shows wrong colours.
bool Header::ReadMasks(Bytes file, size_t size) {
    if (compression == Rgb) {
        if (bits == 16) masks = {{{0x7C00}, {0x03E0}, {0x001F}, {0}}};
        if (bits == 32) masks = {{{0xFF0000}, {0xFF00}, {0xFF}, {0}}};
        return true;
    }
    const size_t count = compression == AlphaBitFields || size >= 56 ? 4 : 3, at = FileHeaderSize + InfoHeaderSize;
    if (pixels < at + count * 4) return false;                      // they would be pixels
    for (size_t i = 0; i < count; ++i) {
        masks[i].bits = Long(file, at + i * 4);
        const uint32_t run = masks[i].bits >> (masks[i].bits != 0 ? std::countr_zero(masks[i].bits) : 0);
        if ((run & (run + 1)) != 0) return false;                   // bits of one channel stand together
    }
    return (masks[0].bits | masks[1].bits | masks[2].bits) != 0;
}

bool Header::ReadPalette(Bytes file, size_t at, size_t entry, uint32_t used) {
    const size_t most = size_t(1) << bits;
    size_t count = used == 0 || used > most ? most : used;
    if (pixels > at) count = std::min(count, (pixels - at) / entry);        // some files have fewer than they say
    if (count == 0 || at > file.size() || count > (file.size() - at) / entry) return false;
    grey = true;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* bgr = file.data() + at + i * entry;
        palette.push_back({bgr[2], bgr[1], bgr[0]});
        grey = grey && bgr[0] == bgr[1] && bgr[1] == bgr[2];
    }
    palette.resize(most);                                           // black where there is none
    return true;
}

// Rows in the file's order: an image's row i is the file's.
class PixelReader {
public:
    PixelReader(const Header& header, Bytes file, ZvImage& image) : m_header(header), m_file(file), m_image(image) {}

    bool Read(size_t& used) {
        used = m_header.pixels;
        return m_header.IsRunLength() ? ReadRuns(used) : ReadRows(used);
    }

private:
    void Put(uint8_t*& to, unsigned index) const {
        const Colour& c = m_header.palette[index];
        *to++ = c[0];
        if (m_header.grey) return;
        *to++ = c[1];
        *to++ = c[2];
    }

    bool ReadRows(size_t& used) {
        const size_t rowBytes = m_header.RowBytes();
        const auto rows = static_cast<size_t>(RowCount(m_image));
        if ((m_file.size() - m_header.pixels) / rowBytes < rows) return false;
        used += rows * rowBytes;
        for (size_t y = 0; y < rows; ++y) {
            const uint8_t* from = m_file.data() + m_header.pixels + y * rowBytes;
            uint8_t* to = m_image.GetLine(static_cast<int>(y));
            if (m_header.bits <= 8)
                ReadIndices(from, to);
            else if (m_header.bits == 24)
                ReadBytes(from, to);
            else
                ReadMasked(from, to);
        }
        return true;
    }

    void ReadIndices(const uint8_t* from, uint8_t* to) const {
        const unsigned bits = m_header.bits, greatest = (1u << bits) - 1;
        for (size_t x = 0, bit = 0; x < static_cast<size_t>(m_header.width); ++x, bit += bits)
            Put(to, (from[bit / 8] >> (8 - bits - bit % 8)) & greatest);
    }

    void ReadBytes(const uint8_t* from, uint8_t* to) const {
        for (int64_t x = 0; x < m_header.width; ++x, from += 3, to += 3) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }

    void ReadMasked(const uint8_t* from, uint8_t* to) const {
        const size_t size = m_header.bits / 8;
        const auto channels = static_cast<size_t>(m_header.Channels());
        for (int64_t x = 0; x < m_header.width; ++x, from += size, to += channels) {
            const uint32_t pixel = size == 2 ? Word(Bytes(from, 2), 0) : Long(Bytes(from, 4), 0);
            for (size_t c = 0; c < channels; ++c) to[c] = m_header.masks[c].Value(pixel);
        }
    }

    // Pixels that no run reaches have the palette's first colour. What a run has behind the end of its row is dropped: there are
    // programs that write the padding of their rows along.
    bool ReadRuns(size_t& used) {
        const int64_t width = m_header.width, height = m_header.height;
        const unsigned bits = m_header.bits;
        for (int y = 0; y < height; ++y) {
            uint8_t* to = m_image.GetLine(y);
            for (int64_t x = 0; x < width; ++x) Put(to, 0);
        }
        int64_t x = 0, y = 0;
        const auto place = [&](unsigned index) {
            if (y >= height) return false;
            if (x >= width) return true;
            uint8_t* to = m_image.GetPixel(static_cast<int>(x++), static_cast<int>(y));
            Put(to, index);
            return true;
        };
        const auto nibble = [&](unsigned byte, unsigned i) { return bits == 8 ? byte : i % 2 == 0 ? byte >> 4 : byte & 15; };
        for (size_t at = m_header.pixels; m_file.size() - at >= 2;) {
            const unsigned count = m_file[at], value = m_file[at + 1];
            at += 2;
            used = at;
            if (count != 0) {
                for (unsigned i = 0; i < count; ++i)
                    if (!place(nibble(value, i))) return false;
            } else if (value == 0) {
                x = 0;
                ++y;
            } else if (value == 1) {
                return true;
            } else if (value == 2) {
                if (m_file.size() - at < 2) return false;
                x += m_file[at];
                y += m_file[at + 1];
                at += 2;
            } else {
                const size_t bytes = bits == 8 ? value : (value + 1) / 2, padded = (bytes + 1) & ~size_t(1);
                if (m_file.size() - at < padded) return false;
                for (unsigned i = 0; i < value; ++i)
                    if (!place(nibble(m_file[at + (bits == 8 ? i : i / 2)], i))) return false;
                at += padded;
            }
        }
        return false;                                               // no end of the picture
    }

    const Header& m_header;
    Bytes m_file;
    ZvImage& m_image;
};

void PutHeaders(Buffer& file, const ZvImage& image, size_t rowBytes) {
    const int channels = image.GetChannels();
    const size_t infoSize = channels == 4 ? AlphaHeaderSize : InfoHeaderSize, paletteSize = channels == 1 ? 1024 : 0;
    const size_t pixels = FileHeaderSize + infoSize + paletteSize, size = rowBytes * static_cast<size_t>(RowCount(image));
    file.push_back('B');
    file.push_back('M');
    PutLong(file, static_cast<uint32_t>(pixels + size));
    PutLong(file, 0);
    PutLong(file, static_cast<uint32_t>(pixels));
    PutLong(file, static_cast<uint32_t>(infoSize));
    PutLong(file, static_cast<uint32_t>(image.GetWidth()));
    PutLong(file, static_cast<uint32_t>(image.GetHeight()));
    PutWord(file, 1);
    PutWord(file, static_cast<uint32_t>(channels * 8));
    PutLong(file, channels == 4 ? BitFields : Rgb);
    PutLong(file, static_cast<uint32_t>(size));
    PutLong(file, 2835);                                            // 72 dots an inch, in dots a metre
    PutLong(file, 2835);
    PutLong(file, 0);
    PutLong(file, 0);
    if (channels == 4) {
        for (const uint32_t mask : {0xFF0000u, 0xFF00u, 0xFFu, 0xFF000000u}) PutLong(file, mask);
        PutLong(file, 0x73524742);                                  // "sRGB"; the rest of the header is of no account then
        file.resize(FileHeaderSize + infoSize);
    }
    for (uint32_t i = 0; channels == 1 && i < 256; ++i) PutLong(file, i * 0x010101);
}

void PutRow(uint8_t* to, const uint8_t* from, int width, int channels) {
    if (channels == 1) {
        std::memcpy(to, from, static_cast<size_t>(width));
        return;
    }
    for (int x = 0; x < width; ++x, from += channels, to += channels) {
        to[0] = from[2];
        to[1] = from[1];
        to[2] = from[0];
        if (channels == 4) to[3] = from[3];
    }
}

}

class BmpCodec : public FileCodec {
    ZV_DECLARE_CLASS(BmpCodec)
    using FileCodec::FileCodec;

protected:
    bool Decode(Bytes file, ZvImage& image, size_t& used) override {
        Header header;
        if (!header.Read(file)) return false;
        if (!CreateImage(image, header.width, header.height, header.Channels(), 8, file.size(), BytesPerByte)) return false;
        return PixelReader(header, file, image).Read(used);
    }

    bool Encode(const ZvImage& image, const Options&, Buffer& file) override {
        const int channels = image.GetChannels();
        if (image.GetDepth() != 8 || channels == 2) return false;
        const size_t rowBytes = (static_cast<size_t>(image.GetWidth()) * static_cast<size_t>(channels) + 3) & ~size_t(3);
        const size_t size = rowBytes * static_cast<size_t>(RowCount(image));
        if (size > UINT32_MAX - 2048) return false;
        file.reserve(size + 2048);
        PutHeaders(file, image, rowBytes);
        const size_t pixels = file.size();
        file.resize(pixels + size);
        for (int y = 0; y < RowCount(image); ++y)
            PutRow(file.data() + pixels + static_cast<size_t>(y) * rowBytes, image.GetLine(y), image.GetWidth(), channels);
        return true;
    }
};

}

ZV_DEFINE_CLASS(zvc::codecs::BmpCodec, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new zvc::codecs::BmpCodec(stream); }

const char* s_signatures[] = {"BM", nullptr};
extern ZvCodecRegister s_register;
ZvCodecType s_codec("Bitmap", s_signatures, "*.bmp;*.dib", &Create, &s_register);
ZvCodecRegister s_register(&s_codec);

}
