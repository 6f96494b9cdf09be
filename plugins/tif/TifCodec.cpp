// TIFF, the first picture of a file: 1 to 4 channels of 8 or 16 bits, in strips or tiles, whole pixels or planes. Greys of
// fewer bits are spread out; palettes and other colour spaces come as RGB of 8 bits. Options: "compression", "none", "lzw",
// "deflate" or "packbits" (lzw).

#include "common/FileCodec.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <tiffio.h>

ZV_MODULE("tif", nullptr, nullptr)

namespace zvc::codecs {

namespace {

constexpr int64_t BytesPerByte = 4096;         // more than its strongest common compression can do

// What the library sees as a file.
struct Source {
    Bytes file;
    uint64_t position = 0;
    bool damaged = false;

    static Source* Of(thandle_t handle) { return static_cast<Source*>(handle); }
    static tmsize_t Read(thandle_t handle, void* to, tmsize_t count) {
        Source* s = Of(handle);
        const uint64_t there = s->position < s->file.size() ? s->file.size() - s->position : 0;
        const uint64_t taken = std::min(there, static_cast<uint64_t>(count));
        if (taken != 0) std::memcpy(to, s->file.data() + s->position, taken);
        s->position += taken;
        return static_cast<tmsize_t>(taken);
    }
    static tmsize_t Write(thandle_t, void*, tmsize_t) { return -1; }
    static toff_t Seek(thandle_t handle, toff_t offset, int origin) {
        Source* s = Of(handle);
        s->position = offset + (origin == SEEK_CUR ? s->position : origin == SEEK_END ? s->file.size() : 0);
        return s->position;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Of(handle)->file.size(); }
    static int Map(thandle_t handle, void** base, toff_t* size) {
        *base = const_cast<uint8_t*>(Of(handle)->file.data());
        *size = Of(handle)->file.size();
        return 1;
    }
    static void Unmap(thandle_t, void*, toff_t) {}
    static int OnError(TIFF*, void* self, const char*, const char*, va_list) {
        static_cast<Source*>(self)->damaged = true;
        return 1;
    }
    static int OnWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }
};

struct Target {
    Buffer& file;
    uint64_t position = 0;

    static Target* Of(thandle_t handle) { return static_cast<Target*>(handle); }
    static tmsize_t Read(thandle_t, void*, tmsize_t) { return -1; }
    static tmsize_t Write(thandle_t handle, void* from, tmsize_t count) {
        Target* t = Of(handle);
        const uint64_t end = t->position + static_cast<uint64_t>(count);
        try {
            if (end > t->file.size()) t->file.resize(end);
        } catch (const std::bad_alloc&) {
            return -1;
        }
        if (count > 0) std::memcpy(t->file.data() + t->position, from, static_cast<size_t>(count));
        t->position = end;
        return count;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int origin) {
        Target* t = Of(handle);
        t->position = offset + (origin == SEEK_CUR ? t->position : origin == SEEK_END ? t->file.size() : 0);
        return t->position;
    }
    static toff_t Size(thandle_t handle) { return Of(handle)->file.size(); }
    static int OnMessage(TIFF*, void*, const char*, const char*, va_list) { return 1; }
};

// A handle of the library that closes itself.
struct Tiff {
    TIFF* handle = nullptr;
    ~Tiff() {
        if (handle != nullptr) TIFFClose(handle);
    }
};

struct Layout {
    uint32_t width = 0, height = 0;
    uint16_t samples = 1, bits = 1, photometric = PHOTOMETRIC_MINISBLACK, planes = PLANARCONFIG_CONTIG, format = SAMPLEFORMAT_UINT,
             compression = COMPRESSION_NONE, orientation = ORIENTATION_TOPLEFT;

    bool Read(TIFF* tiff) {
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
        return TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 0 && TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width) != 0 &&
               TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height) != 0 && width != 0 && height != 0 && width <= INT_MAX &&
               height <= INT_MAX;
    }

    bool IsGrey() const { return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE; }

    // Samples that go into an image as they are; for others the library makes colours of 8 bits.
    bool IsPlain() const {
        if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID) return false;
        if (IsGrey()) return ((bits == 8 || bits == 16) && samples <= 2) || ((bits == 1 || bits == 2 || bits == 4) && samples == 1);
        return photometric == PHOTOMETRIC_RGB && (bits == 8 || bits == 16) && (samples == 3 || samples == 4);
    }
};

// Copies a strip's or tile's pixels into the image, spreads out small greys.
class Placing {
public:
    Placing(ZvImage& image, const Layout& layout)
        : m_image(image), m_layout(layout), m_bytes(layout.bits == 16 ? 2 : 1), m_separate(layout.planes == PLANARCONFIG_SEPARATE),
          m_fromBottom(layout.orientation == ORIENTATION_BOTLEFT || layout.orientation == ORIENTATION_BOTRIGHT) {}

    void Row(const uint8_t* from, uint32_t x, uint32_t y, uint32_t count, uint32_t plane) const {
        uint8_t* row = RowFromTop(m_image, static_cast<int>(m_fromBottom ? m_layout.height - 1 - y : y));
        uint8_t* to = row + (size_t(x) * m_layout.samples + plane) * m_bytes;
        if (m_layout.bits < 8)
            Spread(from, to, count);
        else if (!m_separate)
            std::memcpy(to, from, size_t(count) * m_layout.samples * m_bytes);
        else
            for (uint32_t i = 0; i < count; ++i) std::memcpy(to + size_t(i) * m_layout.samples * m_bytes, from + i * m_bytes, m_bytes);
    }

    // What is left when all pixels are there: light for dark, and right for left.
    void Finish() const {
        const size_t pixel = m_layout.samples * m_bytes;
        const bool mirrored = m_layout.orientation == ORIENTATION_TOPRIGHT || m_layout.orientation == ORIENTATION_BOTRIGHT;
        const bool inverted = m_layout.photometric == PHOTOMETRIC_MINISWHITE;
        for (uint32_t y = 0; (mirrored || inverted) && y < m_layout.height; ++y) {
            uint8_t* row = RowFromTop(m_image, static_cast<int>(y));
            if (inverted)
                for (size_t i = 0; i < m_layout.width * pixel; ++i)
                    if (i % pixel < m_bytes) row[i] = static_cast<uint8_t>(~row[i]);      // the grey, and not an alpha behind it
            if (mirrored)
                for (uint32_t a = 0, b = m_layout.width - 1; a < b; ++a, --b) std::swap_ranges(row + a * pixel, row + (a + 1) * pixel, row + b * pixel);
        }
    }

private:
    void Spread(const uint8_t* from, uint8_t* to, uint32_t count) const {
        const unsigned bits = m_layout.bits, greatest = (1u << bits) - 1;
        for (uint32_t i = 0; i < count; ++i) {
            const size_t bit = size_t(i) * bits;
            to[i] = static_cast<uint8_t>(((from[bit / 8] >> (8 - bits - bit % 8)) & greatest) * 255 / greatest);
        }
    }

    ZvImage& m_image;
    const Layout& m_layout;
    size_t m_bytes;
    bool m_separate, m_fromBottom;
};

bool ReadPlain(TIFF* tiff, const Layout& layout, ZvImage& image, size_t fileSize) {
    const bool tiled = TIFFIsTiled(tiff) != 0;
    uint32_t blockWidth = layout.width, blockHeight = layout.height;
    if (tiled)
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &blockWidth), TIFFGetField(tiff, TIFFTAG_TILELENGTH, &blockHeight);
    else
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &blockHeight);
    blockHeight = tiled ? blockHeight : std::min(blockHeight, layout.height);
    const auto rowBytes = tiled ? TIFFTileRowSize(tiff) : TIFFScanlineSize(tiff);
    const uint64_t blockBytes = tiled ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff);
    if (blockWidth == 0 || blockHeight == 0 || rowBytes <= 0 || blockBytes == 0 || !IsInProportion(blockBytes, fileSize, BytesPerByte))
        return false;
    Buffer block(blockBytes);
    const Placing placing(image, layout);
    const uint32_t planes = layout.planes == PLANARCONFIG_SEPARATE ? layout.samples : 1;
    uint32_t index = 0;
    for (uint32_t plane = 0; plane < planes; ++plane)
        for (uint64_t y = 0; y < layout.height; y += blockHeight)
            for (uint64_t x = 0; x < layout.width; x += blockWidth, ++index) {
                const auto size = static_cast<tmsize_t>(block.size());
                const auto got = tiled ? TIFFReadEncodedTile(tiff, index, block.data(), size) : TIFFReadEncodedStrip(tiff, index, block.data(), size);
                const auto rows = std::min<uint64_t>(blockHeight, layout.height - y);
                if (got < 0 || static_cast<uint64_t>(got) < rows * static_cast<uint64_t>(rowBytes)) return false;
                const auto count = static_cast<uint32_t>(std::min<uint64_t>(blockWidth, layout.width - x));
                for (uint64_t row = 0; row < rows; ++row)
                    placing.Row(block.data() + row * static_cast<uint64_t>(rowBytes), static_cast<uint32_t>(x), static_cast<uint32_t>(y + row), count, plane);
            }
    placing.Finish();
    return true;
}

// Palettes, inks and the like, as the library paints them; its raster is bottom-up as the image is.
bool ReadPainted(TIFF* tiff, const Layout& layout, ZvImage& image) {
    const uint64_t pixels = uint64_t(layout.width) * layout.height;
    std::vector<uint32_t> raster(pixels);
    if (TIFFReadRGBAImageOriented(tiff, layout.width, layout.height, raster.data(), ORIENTATION_BOTLEFT, 1) == 0) return false;
    for (uint32_t y = 0; y < layout.height; ++y) {
        const uint32_t* from = raster.data() + size_t(y) * layout.width;
        uint8_t* to = image.GetLine(static_cast<int>(y));
        for (uint32_t x = 0; x < layout.width; ++x) {
            *to++ = static_cast<uint8_t>(TIFFGetR(from[x]));
            *to++ = static_cast<uint8_t>(TIFFGetG(from[x]));
            *to++ = static_cast<uint8_t>(TIFFGetB(from[x]));
            if (image.GetChannels() == 4) *to++ = static_cast<uint8_t>(TIFFGetA(from[x]));
        }
    }
    return true;
}

bool HasAlpha(TIFF* tiff) {
    uint16_t count = 0;
    const uint16_t* kinds = nullptr;
    return TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) != 0 && count > 0 && kinds[0] != EXTRASAMPLE_UNSPECIFIED;
}

uint16_t CompressionOf(const Options& options) {
    const char* text = options.Text("compression");
    if (text == nullptr) return COMPRESSION_LZW;
    if (std::strcmp(text, "none") == 0) return COMPRESSION_NONE;
    if (std::strcmp(text, "deflate") == 0) return COMPRESSION_ADOBE_DEFLATE;
    if (std::strcmp(text, "packbits") == 0) return COMPRESSION_PACKBITS;
    return COMPRESSION_LZW;
}

void SetLayout(TIFF* tiff, const ZvImage& image, uint16_t compression) {
    const int channels = image.GetChannels();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(image.GetWidth()));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(RowCount(image)));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<uint16_t>(channels));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(image.GetDepth()));
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    if (compression == COMPRESSION_LZW || compression == COMPRESSION_ADOBE_DEFLATE)
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    static const uint16_t s_alpha = EXTRASAMPLE_UNASSALPHA;
    if (channels % 2 == 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &s_alpha);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
}

}

class TifCodec : public FileCodec {
    ZV_DECLARE_CLASS(TifCodec)
    using FileCodec::FileCodec;

protected:
    bool Decode(Bytes file, ZvImage& image, size_t& used) override {
        Source source{file};
        TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
        if (options == nullptr) return false;
        const uint64_t greatest = (4u << 20) + file.size() * static_cast<uint64_t>(BytesPerByte);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(std::min<uint64_t>(greatest, LLONG_MAX)));
        TIFFOpenOptionsSetErrorHandlerExtR(options, &Source::OnError, &source);
        TIFFOpenOptionsSetWarningHandlerExtR(options, &Source::OnWarning, nullptr);
        Tiff tiff;
        tiff.handle = TIFFClientOpenExt("image", "r", &source, &Source::Read, &Source::Write, &Source::Seek, &Source::Close, &Source::Size,
                                        &Source::Map, &Source::Unmap, options);
        TIFFOpenOptionsFree(options);
        Layout layout;
        if (tiff.handle == nullptr || !layout.Read(tiff.handle)) return false;
        const bool plain = layout.IsPlain();
        const int channels = plain ? layout.samples : HasAlpha(tiff.handle) ? 4 : 3;
        if (!plain && !IsInProportion(uint64_t(layout.width) * layout.height * 4, file.size(), BytesPerByte)) return false;
        if (!CreateImage(image, layout.width, layout.height, channels, plain && layout.bits == 16 ? 16 : 8, file.size(), BytesPerByte))
            return false;
        used = file.size();                    // its parts may lie anywhere
        return (plain ? ReadPlain(tiff.handle, layout, image, file.size()) : ReadPainted(tiff.handle, layout, image)) && !source.damaged;
    }

    bool Encode(const ZvImage& image, const Options& options, Buffer& file) override {
        Target target{file};
        TIFFOpenOptions* openOptions = TIFFOpenOptionsAlloc();
        if (openOptions == nullptr) return false;
        TIFFOpenOptionsSetErrorHandlerExtR(openOptions, &Target::OnMessage, nullptr);
        TIFFOpenOptionsSetWarningHandlerExtR(openOptions, &Target::OnMessage, nullptr);
        TIFF* tiff = TIFFClientOpenExt("image", "w", &target, &Target::Read, &Target::Write, &Target::Seek, &Source::Close, &Target::Size,
                                       nullptr, nullptr, openOptions);
        TIFFOpenOptionsFree(openOptions);
        if (tiff == nullptr) return false;
        SetLayout(tiff, image, CompressionOf(options));
        // The library's predictor works in the caller's row.
        const size_t rowBytes = static_cast<size_t>(image.GetWidth()) * static_cast<size_t>(image.GetPixelPitch());
        Buffer row(rowBytes);
        bool good = true;
        for (int y = 0; good && y < RowCount(image); ++y) {
            std::memcpy(row.data(), RowFromTop(image, y), rowBytes);
            good = TIFFWriteScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) == 1;
        }
        good = TIFFFlush(tiff) == 1 && good;
        TIFFClose(tiff);
        return good;
    }
};

}

ZV_DEFINE_CLASS(zvc::codecs::TifCodec, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new zvc::codecs::TifCodec(stream); }

// Of "MM" the zero behind it counts as well, which the format has there.
const char* s_signatures[] = {"II*", "II+", "MM", nullptr};
extern ZvCodecRegister s_register;
ZvCodecType s_codec("Tagged Image File Format", s_signatures, "*.tif;*.tiff", &Create, &s_register);
ZvCodecRegister s_register(&s_codec);

}
