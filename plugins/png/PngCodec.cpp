// PNG: 1 to 4 channels of 8 or 16 bits. Palettes, transparent colours and fewer bits are spread out. Options: "compression",
// 0 to 9.

#include "common/FileCodec.h"

#include <bit>
#include <cstring>
#include <png.h>

ZV_MODULE("png", nullptr, nullptr)

namespace zvc::codecs {

namespace {

constexpr int64_t BytesPerByte = 1040;         // what deflate can do at most, and a little more
constexpr png_alloc_size_t LargestChunk = 8 << 20;

// Out of the library's C, which knows no exceptions. What stands between has no destructors.
[[noreturn]] void OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnWarning(png_structp, png_const_charp) {}

class Reader {
public:
    explicit Reader(Bytes file) : m_file(file) {
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
        if (m_png != nullptr) m_info = png_create_info_struct(m_png);
    }
    ~Reader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool ReadHeader() {
        if (m_info == nullptr || setjmp(png_jmpbuf(m_png)) != 0) return false;
        png_set_read_fn(m_png, this, OnRead);
        png_set_chunk_malloc_max(m_png, LargestChunk);
        png_set_crc_action(m_png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        // Texts and profiles are passed over, whatever they would unfold to.
        png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        png_read_info(m_png, m_info);
        const int colour = png_get_color_type(m_png, m_info);
        const bool transparent = (colour & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(m_png, m_info, PNG_INFO_tRNS) != 0;
        m_channels = ((colour & PNG_COLOR_MASK_COLOR) != 0 ? 3 : 1) + (transparent ? 1 : 0);
        m_depth = png_get_bit_depth(m_png, m_info) == 16 ? 16 : 8;
        return true;
    }

    bool Create(ZvImage& image) const {
        return CreateImage(image, png_get_image_width(m_png, m_info), png_get_image_height(m_png, m_info), m_channels, m_depth,
                           m_file.size(), BytesPerByte);
    }

    bool ReadRows(ZvImage& image) {
        if (setjmp(png_jmpbuf(m_png)) != 0) return false;
        png_set_expand(m_png);
        if (m_depth == 16 && std::endian::native == std::endian::little) png_set_swap(m_png);
        const int passes = png_set_interlace_handling(m_png);
        png_read_update_info(m_png, m_info);
        if (png_get_rowbytes(m_png, m_info) != static_cast<size_t>(image.GetWidth()) * static_cast<size_t>(image.GetPixelPitch()))
            return false;
        const int rows = RowCount(image);
        for (int pass = 0; pass < passes; ++pass)
            for (int y = 0; y < rows; ++y) png_read_row(m_png, RowFromTop(image, y), nullptr);
        png_read_end(m_png, nullptr);
        return true;
    }

    size_t Used() const { return m_used; }

private:
    static void OnRead(png_structp png, png_bytep to, size_t count) {
        auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
        if (count > reader->m_file.size() - reader->m_used) png_error(png, "the file ends early");
        std::memcpy(to, reader->m_file.data() + reader->m_used, count);
        reader->m_used += count;
    }

    Bytes m_file;
    size_t m_used = 0;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    int m_channels = 0, m_depth = 0;
};

class Writer {
public:
    explicit Writer(Buffer& file) : m_file(file) {
        m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
        if (m_png != nullptr) m_info = png_create_info_struct(m_png);
    }
    ~Writer() { png_destroy_write_struct(&m_png, &m_info); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool Write(const ZvImage& image, int compression) {
        static constexpr int Colours[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGB_ALPHA};
        if (m_info == nullptr || setjmp(png_jmpbuf(m_png)) != 0) return false;
        png_set_write_fn(m_png, this, OnWrite, OnFlush);
        if (compression >= 0) png_set_compression_level(m_png, compression);
        const int rows = RowCount(image);
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(image.GetWidth()), static_cast<png_uint_32>(rows), image.GetDepth(),
                     Colours[image.GetChannels() - 1], PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(m_png, m_info);
        if (image.GetDepth() == 16 && std::endian::native == std::endian::little) png_set_swap(m_png);
        for (int y = 0; y < rows; ++y) png_write_row(m_png, RowFromTop(image, y));
        png_write_end(m_png, m_info);
        return true;
    }

private:
    static void OnWrite(png_structp png, png_bytep from, size_t count) {
        Buffer& file = static_cast<Writer*>(png_get_io_ptr(png))->m_file;
        try {
            file.insert(file.end(), from, from + count);
            return;
        } catch (const std::bad_alloc&) {
        }
        png_error(png, "no memory");
    }
    static void OnFlush(png_structp) {}

    Buffer& m_file;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
};

}

class PngCodec : public FileCodec {
    ZV_DECLARE_CLASS(PngCodec)
    using FileCodec::FileCodec;

protected:
    bool Decode(Bytes file, ZvImage& image, size_t& used) override {
        Reader reader(file);
        if (!reader.ReadHeader() || !reader.Create(image) || !reader.ReadRows(image)) return false;
        used = reader.Used();
        return true;
    }

    bool Encode(const ZvImage& image, const Options& options, Buffer& file) override {
        return Writer(file).Write(image, options.Number("compression", -1, 0, 9));
    }
};

}

ZV_DEFINE_CLASS(zvc::codecs::PngCodec, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new zvc::codecs::PngCodec(stream); }

const char* s_signatures[] = {"\x89PNG\r\n\x1a\n", nullptr};
extern ZvCodecRegister s_register;
ZvCodecType s_codec("Portable Network Graphics", s_signatures, "*.png", &Create, &s_register);
ZvCodecRegister s_register(&s_codec);

}
