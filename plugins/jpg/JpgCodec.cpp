// JPEG: 1 or 3 channels of 8 bits; inks (CMYK) are read as RGB. Options: "quality", 1 to 100 (90); "subsampling", "444", "422"
// or "420" (420); "progressive".

#include "common/FileCodec.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <jerror.h>
#include <jpeglib.h>

ZV_MODULE("jpg", nullptr, nullptr)

namespace zvc::codecs {

namespace {

constexpr int64_t BytesPerByte = 2048;         // a block of one colour takes 1 bit at least, in each component
constexpr int MostScans = 200;                 // each passes over the whole picture: no file has a use for so many
constexpr int RowsAtOnce = 16;

// Out of the library's C, which knows no exceptions. What stands between has no destructors.
struct ErrorManager : jpeg_error_mgr {
    ErrorManager() : jpeg_error_mgr() {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr info) { std::longjmp(static_cast<ErrorManager*>(info->err)->jump, 1); };
        emit_message = &OnMessage;
        output_message = [](j_common_ptr) {};
    }

    // The library goes on after damage, with grey blocks; here it is the end. What only surprises it is let pass.
    static void OnMessage(j_common_ptr info, int level) {
        if (level >= 0) return;
        switch (info->err->msg_code) {
            case JWRN_ADOBE_XFORM:
            case JWRN_BOGUS_ICC:
            case JWRN_EXTRANEOUS_DATA:
            case JWRN_JFIF_MAJOR:
            case JWRN_TOO_MUCH_DATA: return;
            default: info->err->error_exit(info);
        }
    }

    jmp_buf jump;
};

uint8_t Product(int a, int b) { return static_cast<uint8_t>((a * b + 127) / 255); }

class Reader {
public:
    explicit Reader(Bytes file) : m_file(file) {
        m_info.err = &m_errors;
        m_progress.progress_monitor = [](j_common_ptr info) {
            if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > MostScans) info->err->error_exit(info);
        };
    }
    ~Reader() { jpeg_destroy_decompress(&m_info); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool ReadHeader() {
        if (setjmp(m_errors.jump) != 0) return false;
        jpeg_create_decompress(&m_info);
        m_info.progress = &m_progress;
        jpeg_mem_src(&m_info, m_file.data(), static_cast<unsigned long>(m_file.size()));
        jpeg_read_header(&m_info, TRUE);
        if (m_info.num_components != 1 && m_info.num_components != 3 && m_info.num_components != 4) return false;
        m_info.out_color_space = m_info.num_components == 1 ? JCS_GRAYSCALE : m_info.num_components == 3 ? JCS_RGB : JCS_CMYK;
        return m_info.data_precision == 8;
    }

    bool Create(ZvImage& image) {
        if (m_info.num_components == 4) m_inks.resize(size_t(m_info.image_width) * 4);
        return CreateImage(image, m_info.image_width, m_info.image_height, m_info.num_components == 1 ? 1 : 3, 8, m_file.size(),
                           BytesPerByte);
    }

    bool ReadRows(ZvImage& image) {
        if (setjmp(m_errors.jump) != 0) return false;
        jpeg_start_decompress(&m_info);
        while (m_info.output_scanline < m_info.output_height) {
            if (m_inks.empty())
                ReadSome(image);
            else
                ReadInks(image);
        }
        return jpeg_finish_decompress(&m_info) != FALSE;
    }

    size_t Used() const { return m_file.size() - m_info.src->bytes_in_buffer; }

private:
    void ReadSome(ZvImage& image) {
        JSAMPROW rows[RowsAtOnce];
        JDIMENSION count = 0;
        for (JDIMENSION y = m_info.output_scanline; y < m_info.output_height && count < RowsAtOnce; ++y)
            rows[count++] = RowFromTop(image, static_cast<int>(y));
        jpeg_read_scanlines(&m_info, rows, count);
    }

    // The maker that marks its files stores inks upside down, and all others follow it.
    void ReadInks(ZvImage& image) {
        uint8_t* to = RowFromTop(image, static_cast<int>(m_info.output_scanline));
        JSAMPROW row = m_inks.data();
        jpeg_read_scanlines(&m_info, &row, 1);
        const int flip = m_info.saw_Adobe_marker ? 0 : 255;
        for (JDIMENSION x = 0; x < m_info.output_width; ++x, row += 4, to += 3)
            for (int c = 0; c < 3; ++c) to[c] = Product(row[c] ^ flip, row[3] ^ flip);
    }

    Bytes m_file;
    ErrorManager m_errors;
    jpeg_decompress_struct m_info{};
    jpeg_progress_mgr m_progress{};
    Buffer m_inks;
};

// A destination that grows.
struct Destination : jpeg_destination_mgr {
    explicit Destination(Buffer& buffer) : jpeg_destination_mgr(), file(buffer) {
        init_destination = [](j_compress_ptr info) { Of(info)->Grow(info); };
        empty_output_buffer = [](j_compress_ptr info) -> boolean {
            Of(info)->Grow(info);
            return TRUE;
        };
        term_destination = [](j_compress_ptr info) { Of(info)->file.resize(Of(info)->file.size() - Of(info)->free_in_buffer); };
    }
    static Destination* Of(j_compress_ptr info) { return static_cast<Destination*>(info->dest); }

    // Called with the buffer full, whatever the counts say.
    void Grow(j_compress_ptr info) {
        const size_t size = file.size();
        try {
            file.resize(size + (size > 65536 ? size : 65536));
            next_output_byte = file.data() + size;
            free_in_buffer = file.size() - size;
            return;
        } catch (const std::bad_alloc&) {
        }
        info->err->error_exit(reinterpret_cast<j_common_ptr>(info));
    }

    Buffer& file;
};

class Writer {
public:
    explicit Writer(Buffer& file) : m_destination(file) { m_info.err = &m_errors; }
    ~Writer() { jpeg_destroy_compress(&m_info); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool Write(const ZvImage& image, const Options& options) {
        if (setjmp(m_errors.jump) != 0) return false;
        jpeg_create_compress(&m_info);
        m_info.dest = &m_destination;
        m_info.image_width = static_cast<JDIMENSION>(image.GetWidth());
        m_info.image_height = static_cast<JDIMENSION>(RowCount(image));
        m_info.input_components = image.GetChannels();
        m_info.in_color_space = image.GetChannels() == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&m_info);
        jpeg_set_quality(&m_info, options.Number("quality", 90, 1, 100), TRUE);
        const int subsampling = options.Number("subsampling", 420, 0, 999);
        if (subsampling == 444 || subsampling == 422) m_info.comp_info[0].v_samp_factor = 1;
        if (subsampling == 444) m_info.comp_info[0].h_samp_factor = 1;
        if (options.Flag("progressive")) jpeg_simple_progression(&m_info);
        jpeg_start_compress(&m_info, TRUE);
        while (m_info.next_scanline < m_info.image_height) WriteSome(image);
        jpeg_finish_compress(&m_info);
        return true;
    }

private:
    void WriteSome(const ZvImage& image) {
        JSAMPROW rows[RowsAtOnce];
        JDIMENSION count = 0;
        for (JDIMENSION y = m_info.next_scanline; y < m_info.image_height && count < RowsAtOnce; ++y)
            rows[count++] = const_cast<JSAMPROW>(RowFromTop(image, static_cast<int>(y)));
        jpeg_write_scanlines(&m_info, rows, count);
    }

    Destination m_destination;
    ErrorManager m_errors;
    jpeg_compress_struct m_info{};
};

}

class JpgCodec : public FileCodec {
    ZV_DECLARE_CLASS(JpgCodec)
    using FileCodec::FileCodec;

protected:
    bool Decode(Bytes file, ZvImage& image, size_t& used) override {
        Reader reader(file);
        if (!reader.ReadHeader() || !reader.Create(image) || !reader.ReadRows(image)) return false;
        used = reader.Used();
        return true;
    }

    bool Encode(const ZvImage& image, const Options& options, Buffer& file) override {
        if (image.GetDepth() != 8 || (image.GetChannels() != 1 && image.GetChannels() != 3)) return false;
        return Writer(file).Write(image, options);
    }
};

}

ZV_DEFINE_CLASS(zvc::codecs::JpgCodec, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new zvc::codecs::JpgCodec(stream); }

const char* s_signatures[] = {"\xff\xd8\xff", nullptr};
extern ZvCodecRegister s_register;
ZvCodecType s_codec("JPEG", s_signatures, "*.jpg;*.jpeg;*.jpe", &Create, &s_register);
ZvCodecRegister s_register(&s_codec);

}
