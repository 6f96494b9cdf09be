#pragma once

// What the codecs of this folder share: a file is read whole before it is decoded and made whole before it is written, so
// that a format's own code sees bytes in memory and nothing of streams.

#include "zvc/imaging/ZvImage.h"
#include "zvc/imaging/ZvImgCodec.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zvc::codecs {

using Bytes = std::span<const uint8_t>;
using Buffer = std::vector<uint8_t>;

/// The option pairs of a save. Names that a codec does not ask for are ignored; of several with one name the last counts.
class Options {
public:
    Options(int count, const char** names, const char** values) : m_count(count), m_names(names), m_values(values) {}

    /// Null when there is none.
    const char* Text(const char* name) const;

    /// Held to the range; fallback when there is none, or no whole number.
    int Number(const char* name, int fallback, int least, int greatest) const;

    /// "1", "true", "yes" and "on" are true.
    bool Flag(const char* name) const;

private:
    int m_count;
    const char** m_names;
    const char** m_values;
};

/// The sample type of images whose pixels are packed colours (zvpackedcolor): four channels of 8 bits, which only look like
/// RGB with alpha.
constexpr char PackedColours = 'E';
inline bool IsPacked(const ZvImage& image) {
    return image.GetSampleType() == PackedColours && image.GetChannels() == 4 && image.GetDepth() == 8;
}

/// A codec as this folder's plug-ins write it. Images are decoded bottom-up, but for formats that say which way they go.
class FileCodec : public ZvImgCodec {
public:
    explicit FileCodec(ZvStream$& stream) : ZvImgCodec(stream) {}

    void Reserved() final {}

    /// The stream then stands behind the image's last byte, where it can seek. No exception leaves it.
    bool DecodeImage(ZvImage* image) final;
    bool EncodeImage(const ZvImage* image, int optionCount, const char** names, const char** values) final;

protected:
    using ZvImgCodec::Decode;                // of objects, beside those of images
    using ZvImgCodec::Encode;

    /// The image's file starts at the first byte; used takes how many of them it has. False for what cannot be read.
    virtual bool Decode(Bytes file, ZvImage& image, size_t& used) = 0;

    /// The image has pixels, 1 to 4 channels and depth 8 or 16. False for one that the format does not have.
    virtual bool Encode(const ZvImage& image, const Options& options, Buffer& file) = 0;

    /// Whether Encode takes images of packed colours; others see no such image.
    virtual bool TakesPacked() const { return false; }

private:
    bool ReadRest(Buffer& file);
};

/// Creates the image, owning its pixels, unless it is out of proportion: beyond 4 MiB a picture has at most so many bytes for
/// each byte of its file. A positive height is bottom-up, a negative one top-down.
bool CreateImage(ZvImage& image, int64_t width, int64_t height, int channels, int depth, size_t fileSize, int64_t bytesPerByte,
                 char sampleType = 0);

/// True when a block of so many bytes is in proportion by the same rule.
bool IsInProportion(uint64_t bytes, size_t fileSize, int64_t bytesPerByte);

/// The row of a picture, counted from its top.
uint8_t* RowFromTop(ZvImage& image, int y);
const uint8_t* RowFromTop(const ZvImage& image, int y);

inline int RowCount(const ZvImage& image) { return image.GetHeight() < 0 ? -image.GetHeight() : image.GetHeight(); }

}
