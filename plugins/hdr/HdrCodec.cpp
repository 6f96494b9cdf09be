// Radiance HDR (G. Ward, "Real Pixels", Graphics Gems II, 1991): a picture is read as 4 channels of 8 bits, each pixel a
// zvpackedcolor, under the sample type 'E', and is written from such an image byte for byte. An image of 1 or 3 channels is
// written with its realized samples as linear light. Options: none.

#include "common/FileCodec.h"
#include "zvc/imaging/zvcolor.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

ZV_MODULE("hdr", nullptr, nullptr)

namespace zvc::codecs {

namespace {

constexpr int64_t BytesPerByte = 1024;         // old runs; those of today do a sixteenth of it
constexpr int64_t LeastPacked = 8, MostPacked = 32767;     // widths whose rows are stored channel by channel
constexpr size_t LongestRun = 127, ShortestRun = 4;

static_assert(sizeof(zvpackedcolor) == 4);

struct Header {
    int64_t width = 0, height = 0;
    bool bottomUp = false, mirrored = false;
    size_t size = 0;

    bool Read(Bytes file);

private:
    bool ReadResolution(std::string_view line);
};

bool Header::Read(Bytes file) {
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    if (!text.starts_with("#?")) return false;
    bool empty = false;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        if (end == std::string_view::npos) return false;
        const std::string_view line = text.substr(at, end - at);
        at = end + 1;
        if (empty) {
            size = at;
            return ReadResolution(line);
        }
        if (line.starts_with("FORMAT=") && line != "FORMAT=32-bit_rle_rgbe") return false;
        empty = line.empty();
    }
    return false;
}

// "-Y 480 +X 640": the first sign says where the rows begin, the second the pixels. Pictures on their side are not read.
bool Header::ReadResolution(std::string_view line) {
    const auto number = [&](char sign, std::string_view axis, int64_t& value) {
        if (line.size() < 3 || line[0] != sign || line.substr(1, 2) != axis) return false;
        const auto [stop, error] = std::from_chars(line.data() + 3, line.data() + line.size(), value);
        line.remove_prefix(static_cast<size_t>(stop - line.data()));
        return error == std::errc() && value > 0;
    };
    bottomUp = line.starts_with('+');
    if (!number(bottomUp ? '+' : '-', "Y ", height) || !line.starts_with(' ')) return false;
    line.remove_prefix(1);
    mirrored = line.starts_with('-');
    return number(mirrored ? '-' : '+', "X ", width) && line.empty();
}

class PixelReader {
public:
    PixelReader(Bytes file, size_t at) : m_file(file), m_at(at) {}

    bool ReadRow(uint8_t* to, int64_t width) {
        if (width >= LeastPacked && width <= MostPacked && Left() >= 4 && m_file[m_at] == 2 && m_file[m_at + 1] == 2 &&
            m_file[m_at + 2] < 128)
            return ReadChannels(to, width);
        return ReadPixels(to, width);
    }

    size_t Used() const { return m_at; }

private:
    size_t Left() const { return m_file.size() - m_at; }

    // Each channel for itself: a count above 128 repeats one byte, another is followed by so many.
    bool ReadChannels(uint8_t* row, int64_t width) {
        if ((m_file[m_at + 2] << 8 | m_file[m_at + 3]) != width) return false;
        m_at += 4;
        for (int c = 0; c < 4; ++c) {
            for (int64_t x = 0; x < width;) {
                if (Left() < 2) return false;
                const unsigned code = m_file[m_at++];
                const bool run = code > 128;
                const int64_t count = run ? code - 128 : code;
                if (count == 0 || count > width - x || (!run && Left() < static_cast<size_t>(count))) return false;
                for (int64_t i = 0; i < count; ++i) row[(x + i) * 4 + c] = m_file[m_at + (run ? 0 : static_cast<size_t>(i))];
                m_at += run ? 1 : static_cast<size_t>(count);
                x += count;
            }
        }
        return true;
    }

    // Whole pixels; one of 1, 1, 1 and n repeats the one before n times, and further ones behind it count 256 times as much.
    bool ReadPixels(uint8_t* row, int64_t width) {
        int shift = 0;
        for (int64_t x = 0; x < width;) {
            if (Left() < 4) return false;
            const uint8_t* p = m_file.data() + m_at;
            m_at += 4;
            if (p[0] != 1 || p[1] != 1 || p[2] != 1) {
                std::memcpy(row + x++ * 4, p, 4);
                shift = 0;
                continue;
            }
            const int64_t count = int64_t(p[3]) << shift;
            if (x == 0 || shift > 16 || count > width - x) return false;
            for (int64_t i = 0; i < count; ++i, ++x) std::memcpy(row + x * 4, row + (x - 1) * 4, 4);
            shift += 8;
        }
        return true;
    }

    Bytes m_file;
    size_t m_at;
};

void Mirror(uint8_t* row, int64_t width) {
    for (int64_t a = 0, b = width - 1; a < b; ++a, --b) std::swap_ranges(row + a * 4, row + a * 4 + 4, row + b * 4);
}

size_t RunAt(const uint8_t* row, size_t x, size_t width, size_t c) {
    size_t n = 1;
    while (x + n < width && n < LongestRun && row[(x + n) * 4 + c] == row[x * 4 + c]) ++n;
    return n;
}

void PutChannels(Buffer& file, const uint8_t* row, size_t width) {
    file.insert(file.end(), {2, 2, static_cast<uint8_t>(width >> 8), static_cast<uint8_t>(width)});
    for (size_t c = 0; c < 4; ++c)
        for (size_t x = 0; x < width;) {
            size_t end = x, run = 0;                                // bytes as they are, up to a run that pays
            while (end < width && end - x < LongestRun + 1 && (run = RunAt(row, end, width, c)) < ShortestRun) ++end;
            if (end > x) {
                file.push_back(static_cast<uint8_t>(end - x));
                for (; x < end; ++x) file.push_back(row[x * 4 + c]);
            } else {
                file.push_back(static_cast<uint8_t>(128 + run));
                file.push_back(row[x * 4 + c]);
                x += run;
            }
        }
}

// As they are, but for one that would be taken for a run; colours that init packs are none of those.
bool PutPixels(Buffer& file, const uint8_t* row, size_t width) {
    for (size_t x = 0; x < width; ++x)
        if (row[x * 4] == 1 && row[x * 4 + 1] == 1 && row[x * 4 + 2] == 1) return false;
    file.insert(file.end(), row, row + width * 4);
    return true;
}

// A row's samples, as linear light.
void Pack(const ZvImage& image, const uint8_t* from, zvpackedcolor* to) {
    const int channels = image.GetChannels(), bytes = image.GetDepth() / 8;
    for (int x = 0; x < image.GetWidth(); ++x) {
        float v[3];
        for (int c = 0; c < 3; ++c) {
            const uint8_t* sample = from + (static_cast<ptrdiff_t>(x) * channels + std::min(c, channels - 1)) * bytes;
            uint16_t word = *sample;
            if (bytes == 2) std::memcpy(&word, sample, 2);
            v[c] = image.Realize(static_cast<float>(word));
        }
        to[x] = zvpackedcolor(zvcolor(v[0], v[1], v[2]));
    }
}

}

class HdrCodec : public FileCodec {
    ZV_DECLARE_CLASS(HdrCodec)
    using FileCodec::FileCodec;

protected:
    bool Decode(Bytes file, ZvImage& image, size_t& used) override {
        Header header;
        if (!header.Read(file)) return false;
        if (!CreateImage(image, header.width, header.height, 4, 8, file.size(), BytesPerByte, PackedColours)) return false;
        PixelReader reader(file, header.size);
        for (int i = 0; i < RowCount(image); ++i) {
            uint8_t* row = RowFromTop(image, header.bottomUp ? RowCount(image) - 1 - i : i);
            if (!reader.ReadRow(row, header.width)) return false;
            if (header.mirrored) Mirror(row, header.width);
        }
        used = reader.Used();
        return true;
    }

    bool Encode(const ZvImage& image, const Options&, Buffer& file) override {
        const bool packed = IsPacked(image);
        if (!packed && image.GetChannels() != 1 && image.GetChannels() != 3) return false;
        const std::string header = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(RowCount(image)) + " +X " +
                                   std::to_string(image.GetWidth()) + "\n";
        file.assign(header.begin(), header.end());
        const auto width = static_cast<size_t>(image.GetWidth());
        Buffer row(width * 4);
        for (int y = 0; y < RowCount(image); ++y) {
            if (packed)
                std::memcpy(row.data(), RowFromTop(image, y), row.size());
            else
                Pack(image, RowFromTop(image, y), reinterpret_cast<zvpackedcolor*>(row.data()));
            if (image.GetWidth() >= LeastPacked && image.GetWidth() <= MostPacked)
                PutChannels(file, row.data(), width);
            else if (!PutPixels(file, row.data(), width))
                return false;
        }
        return true;
    }

    bool TakesPacked() const override { return true; }
};

}

ZV_DEFINE_CLASS(zvc::codecs::HdrCodec, (ZvImgCodec))

namespace {

ZvImgCodec$ Create(ZvStream$& stream) { return new zvc::codecs::HdrCodec(stream); }

const char* s_signatures[] = {"#?RA", "#?RG", nullptr};        // "#?RADIANCE" and "#?RGBE": one length for both
extern ZvCodecRegister s_register;
ZvCodecType s_codec("Radiance", s_signatures, "*.hdr;*.rgbe", &Create, &s_register);
ZvCodecRegister s_register(&s_codec);

}
