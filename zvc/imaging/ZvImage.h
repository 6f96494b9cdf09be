#pragma once

#include "zvc/concurrency/Delegate.h"
#include "zvc/core/ZvDeclare.h"
#include "zvc/core/ZvException.h"
#include "zvc/platform/Bitmap.h"
#include "zvc/values/CG.h"

#include <cstdint>

class ZvEventArgs;
class ZvFilter;
class ZvImage$;

/// A raster image: one block of interleaved samples. It owns its pixels, or wraps a buffer of the caller's. Files are read
/// and written by the codecs that ZvImgCodec finds; the library itself holds no format.
///
/// Depth codes: 8 is one unsigned byte a sample, 16 one unsigned 16-bit word of the machine's byte order. 0x8020 and 0x8040
/// were meant for 32-bit and 64-bit floats; kept in a signed 16-bit field they match no comparison, and such an image is
/// treated as one of an unknown depth: that is how the family's files and plug-ins know it. Any other code can be stored.
///
/// The sign of the height is the order of the rows: positive is bottom-up, negative top-down. Every row begins linePitch
/// bytes behind the one before it.
///
/// Nothing is locked: any number of threads may read an image, and a writer must be alone. Nothing checks coordinates.
class ZV_API ZvImage : public ZvObject {
    ZV_DECLARE_CLASS(ZvImage)
    ZV_DECLARE_CREATE(ZvImage)
public:
    enum Format : int { BMP = 0, JPG = 1, PNG = 2, TIF = 3 };

    /// Empty: no pixels, depth 8, everything else 0.
    ZvImage();

    /// As Create, whose answer is dropped.
    ZvImage(int width, int height, char channels, short depth, char sampleType, unsigned char* data, int pitch, bool owns);

    /// Loads a file. One that cannot be opened leaves an empty image. Raises ZvImageUnloadedException where no codec knows
    /// the content ("unrecognized image file extension"), or the codec fails ("decode error"). More arguments are ignored.
    explicit ZvImage(const char* path, ...);

    /// Loads from the stream's position; every failure raises ZvImageUnloadedException ("decode error").
    explicit ZvImage(ZvStream$& stream, ...);

    ~ZvImage() override;

    /// Copies every field as it is, so that both share one block, which goes with the last of those that own it. A block that
    /// this image had is not freed.
    ZvImage& operator=(const ZvImage& other);

    /// Makes this an image of the given layout. A block that it had is neither freed nor looked at.
    ///
    /// pitch: bytes from one row to the next, 0 for rows packed and filled up to a multiple of four bytes. A pitch that a
    /// packed row does not fit into answers false, with all other fields stored.
    /// owns: takes a block of its own, whose contents are undefined, and copies abs(height) rows of pitch bytes from data
    /// where that is not null (with a pitch of 0 that is nothing). Otherwise data is used in place and stays the caller's.
    /// Raises ZvBadAllocException where there is no memory.
    bool Create(int width, int height, char channels, short depth, char sampleType, unsigned char* data, int pitch, bool owns);

    /// Bytes of a packed row, filled up to a multiple of four; the two others for this image, whatever its own pitches are.
    static int CalculateLinePitch(int width, int channels, int depth);
    int CalcLinePitch() const;
    char CalcPixelPitch() const;

    /// Sets the factor of Realize by the depth: 1 / (2^depth - 1); for a depth below 1, 1 / 2^(abs(depth) - 1). The power is a
    /// 32-bit shift, its count cut to five bits.
    void CalcRealize();

    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }
    bool IsBottomUp() const { return m_height > 0; }
    char GetChannels() const { return m_channels; }
    short GetDepth() const { return m_depth; }
    int GetBitsPerSamples() const { return m_depth < 0 ? -m_depth : m_depth; }
    /// A tag that codecs carry; the image prints and codes it, and does nothing else with it.
    char GetSampleType() const { return m_sampleType; }
    /// Bytes from one pixel to the next; kept in a signed char, so that it is wrong (and meant so) for the float depths.
    char GetPixelPitch() const { return m_pixelPitch; }
    int GetLinePitch() const { return m_linePitch; }
    unsigned char* GetBaseAddress() { return m_data; }
    const unsigned char* GetBaseAddress() const { return m_data; }
    unsigned char* GetLine(int y) { return m_data + OffsetOf(0, y); }
    const unsigned char* GetLine(int y) const { return m_data + OffsetOf(0, y); }
    unsigned char* GetRow(int y) { return GetLine(y); }
    const unsigned char* GetRow(int y) const { return GetLine(y); }
    unsigned char* GetPixel(int x, int y) { return m_data + OffsetOf(x, y); }
    const unsigned char* GetPixel(int x, int y) const { return m_data + OffsetOf(x, y); }

    /// Called from the destructor, with the image and fresh arguments, while the pixels are still there.
    zvc::Delegate<void(ZvObject*, ZvEventArgs&)>& OnDeleted() { return m_onDeleted; }

    /// Sample values into the range of 0 to 1: times the factor of CalcRealize, in double.
    float Realize(float value) const;
    CG::vec3<float> Realize(const CG::vec3<float>& value) const;
    CG::vec4<float> Realize(const CG::vec4<float>& value) const;

    /// Reads count channels of a pixel, from firstChannel on, into out, as Realize gives them. A channel past the last repeats
    /// the last, one before the first is the first. Writes nothing for a depth that is neither 8 nor 16.
    void GetPixelValue(int x, int y, int count, float* out, int firstChannel) const;

    /// A new image of width by abs(height) pixels, resampled by filter in two passes, horizontally first. The order of the
    /// rows stays. Destination pixel i stands at source position i / scale: there is no shift by half a pixel. Samples are
    /// cut off, neither rounded nor limited, so that overshoot of a filter wraps round. Depths other than 8 and 16, and more
    /// than eight channels, are not resampled: the new block is all zero where a pass would have run.
    /// Raises ZvBadAllocException where there is no memory, for negative sizes too.
    ZvImage$ Resize(int width, int height, const ZvFilter& filter) const;

    /// A device-independent bitmap of the image; the caller owns it. It is right for depth 8 with three channels: three bytes
    /// are copied for each pixel, whatever the header says. Null where there is no memory.
    HBITMAP GetHBITMAP() const;

    /// As the constructors, but false for every failure.
    bool Load(const char* path);
    bool Load(ZvStream$& stream);

    /// Saves to a file. Behind the path stand pairs of const char*, name and value of an option, and a null pointer at the end.
    /// The codec is found by the option "format" (the last one wins), else by what stands behind the last dot of the
    /// path, and gets all pairs. False where there is no codec, or it fails; the file has been emptied then already.
    bool Save(const char* path, ...) const;

    /// Saves without options; false for a format that is none of the four.
    bool Save(ZvStream$& stream, Format format) const;

    /// CRC-32 of the block, mixed with the layout. Computed once: a changed pixel leaves the old hash, and programs rely on that.
    size_t GetHashCode() const override;
    /// Same width, height, channels, depth and block; the sample type does not count.
    bool Equals(const ZvObject* other) const override;
    /// A deep copy.
    ZvObject* Clone() const override;
    /// The layout, a line each; bottom-up, the bytes of the pixels as characters. It ends at the first zero byte.
    ZvString$ ToString() const override;

    /// Width, height, channels, depth, sample type, and the block. A pitch of the caller's own is lost on the way.
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

    /// A counter that nothing writes.
    static unsigned int GetUsedMemory() { return s_used_memory; }
    static unsigned int s_used_memory;

protected:
    /// A deep copy; what Clone uses.
    ZvImage(const ZvImage& other);

private:
    enum class Loaded { Yes, NotOpened, NoDecoder, DecodeError };
    static constexpr uint32_t NotComputed = 0xFFFFFFFF;

    void StoreLayout(int width, int height, char channels, short depth, char sampleType);
    void OwnBlock(bool cleared);
    Loaded LoadFile(const char* path);
    Loaded LoadStream(ZvStream$& stream, const char* extension);
    ptrdiff_t OffsetOf(int x, int y) const { return ptrdiff_t(y) * m_linePitch + ptrdiff_t(x) * m_pixelPitch; }
    long long BlockBytes() const;

    int m_width = 0;
    int m_height = 0;
    char m_channels = 0;
    short m_depth = 8;
    char m_sampleType = 0;
    char m_pixelPitch = 0;
    int m_linePitch = 0;
    unsigned char* m_data = nullptr;         // the first row
    bool m_ownsData = false;                 // m_data is from NewPixels, and one of its owners is this image
    double m_realize = 0.0;
    mutable uint32_t m_hash = NotComputed;
    zvc::Delegate<void(ZvObject*, ZvEventArgs&)> m_onDeleted;
};
ZV_DECLARE_HANDLE(ZvImage, ZvObject$);

/// An image could not be loaded.
class ZV_API ZvImageUnloadedException : public ZvException {
    ZV_DECLARE_CLASS(ZvImageUnloadedException)
public:
    explicit ZvImageUnloadedException(const char* message);
    ZvImageUnloadedException(const ZvImageUnloadedException& other);
    ~ZvImageUnloadedException() override;
};
