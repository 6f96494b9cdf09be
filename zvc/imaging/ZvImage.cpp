#include "zvc/imaging/ZvImage.h"

#include "zvc/imaging/ZvImgCodec.h"
#include "zvc/imaging/ZvPixels.h"
#include "zvc/platform/File.h"
#include "zvc/serialization/ZvCoder.h"
#include "zvc/serialization/ZvCoderException.h"
#include "zvc/serialization/ZvRun.h"
#include "zvc/serialization/ZvStdFILEStream.h"
#include "zvc/values/ZvCrc32.h"
#include "zvc/values/ZvEventArgs.h"
#include "zvc/values/ZvString.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

ZV_DEFINE_CLASS(ZvImage, (ZvObject), .codec = true, .create = &Create)
ZV_DEFINE_CLASS(ZvImageUnloadedException, (ZvException))

ZvImageUnloadedException::ZvImageUnloadedException(const char* message) : ZvException(message) {}
ZvImageUnloadedException::ZvImageUnloadedException(const ZvImageUnloadedException& other) = default;
ZvImageUnloadedException::~ZvImageUnloadedException() = default;

unsigned int ZvImage::s_used_memory = 0;

namespace {

/// Bits of a packed row.
int64_t BitsOfRow(int width, int channels, int depth) { return int64_t(channels) * depth * width; }

/// False for a row whose length the 32-bit pitch cannot tell.
bool FitsPitch(int width, int channels, int depth) {
    const int64_t bits = BitsOfRow(width, channels, depth & 0x7FFF);
    return bits == static_cast<int32_t>(bits);
}

char PixelPitchOf(int channels, int bits) { return static_cast<char>(bits * channels / 8); }

/// What stands behind the last dot; null without one.
const char* ExtensionOf(const char* path) {
    const char* dot = std::strrchr(path, '.');
    return dot == nullptr ? nullptr : dot + 1;
}

}

ZvImage::ZvImage() = default;

ZvImage::ZvImage(int width, int height, char channels, short depth, char sampleType, unsigned char* data, int pitch, bool owns)
    : ZvImage() {
    Create(width, height, channels, depth, sampleType, data, pitch, owns);
    CalcRealize();
}

ZvImage::ZvImage(const char* path, ...) : ZvImage() {
    switch (LoadFile(path)) {
    case Loaded::Yes: CalcRealize(); break;
    case Loaded::NotOpened: break;                        // an empty image, and no sign: callers ask for the pixels
    case Loaded::NoDecoder: throw ZvImageUnloadedException("unrecognized image file extension");
    case Loaded::DecodeError: throw ZvImageUnloadedException("decode error");
    }
}

ZvImage::ZvImage(ZvStream$& stream, ...) : ZvImage() {
    if (LoadStream(stream, nullptr) != Loaded::Yes) throw ZvImageUnloadedException("decode error");
}

ZvImage::ZvImage(const ZvImage& other) : ZvObject(other), m_realize(other.m_realize) {
    unsigned char* const source = other.m_data;
    if (Create(other.m_width, other.m_height, other.m_channels, other.m_depth, other.m_sampleType, source, other.m_linePitch, true))
        return;
    // A layout that Create does not take, as that of float samples is: the same rows all the same, in a block of our own.
    m_linePitch = other.m_linePitch;
    m_data = zvc::detail::NewPixels(BlockBytes(), true);
    m_ownsData = true;
    if (source != nullptr) std::memcpy(m_data, source, static_cast<size_t>(BlockBytes()));
}

ZvImage::~ZvImage() {
    if (m_onDeleted) {
        const ZvEventArgs$ args = new ZvEventArgs;
        Retain();                                         // a handle that a target makes for a while must not end us again
        m_onDeleted(this, *args);
        ReleaseNotDelete();
        m_onDeleted = nullptr;
    }
    if (m_ownsData) zvc::detail::ReleasePixels(m_data);
}

ZvImage& ZvImage::operator=(const ZvImage& other) {
    if (this == &other) return *this;
    m_onDeleted = other.m_onDeleted;
    if (other.m_ownsData) zvc::detail::RetainPixels(other.m_data);
    // A block of our own is forgotten, not freed: meant so, programs go on using what they took from it.
    m_width = other.m_width;
    m_height = other.m_height;
    m_channels = other.m_channels;
    m_depth = other.m_depth;
    m_sampleType = other.m_sampleType;
    m_pixelPitch = other.m_pixelPitch;
    m_linePitch = other.m_linePitch;
    m_data = other.m_data;
    m_ownsData = other.m_ownsData;
    m_realize = other.m_realize;
    m_hash = other.m_hash;
    return *this;
}

void ZvImage::StoreLayout(int width, int height, char channels, short depth, char sampleType) {
    m_width = width;
    m_height = height;
    m_channels = channels;
    m_depth = depth;
    m_sampleType = sampleType;
    m_linePitch = CalcLinePitch();
    m_pixelPitch = CalcPixelPitch();
}

bool ZvImage::Create(int width, int height, char channels, short depth, char sampleType, unsigned char* data, int pitch, bool owns) {
    StoreLayout(width, height, channels, depth, sampleType);
    m_data = data;                                        // an old block stays where it is: data may lie in it
    m_ownsData = false;
    if (pitch != 0) {
        if (pitch < BitsOfRow(width, channels, GetBitsPerSamples()) / 8) return false;
        m_linePitch = pitch;
    }
    if (owns) {
        m_data = nullptr;
        OwnBlock(true);
        // Rows of the caller's pitch: with a pitch of 0 nothing is taken over, which is meant so.
        if (data != nullptr && pitch != 0) std::memcpy(m_data, data, static_cast<size_t>(BlockBytes()));
    }
    CalcRealize();
    return true;
}

/// A block for the layout that is stored.
void ZvImage::OwnBlock(bool cleared) {
    if (m_linePitch == CalcLinePitch() && !FitsPitch(m_width, m_channels, m_depth)) throw ZvBadAllocException("bad alloc");
    m_data = zvc::detail::NewPixels(BlockBytes(), cleared);
    m_ownsData = true;
}

int ZvImage::CalculateLinePitch(int width, int channels, int depth) {
    return (static_cast<int32_t>(BitsOfRow(width, channels, depth & 0x7FFF)) / 8 + 3) & ~3;
}

int ZvImage::CalcLinePitch() const { return CalculateLinePitch(m_width, m_channels, m_depth); }
char ZvImage::CalcPixelPitch() const { return PixelPitchOf(m_channels, GetBitsPerSamples()); }

void ZvImage::CalcRealize() {
    const auto power = [](int exponent) { return uint32_t(1) << (exponent & 31); };
    const uint32_t divisor = m_depth >= 1 ? power(m_depth) - 1 : power(GetBitsPerSamples() - 1);
    m_realize = 1.0 / static_cast<int32_t>(divisor);
}

/// Bytes of all rows, whatever their order.
long long ZvImage::BlockBytes() const { return std::abs(static_cast<long long>(m_height)) * m_linePitch; }

float ZvImage::Realize(float value) const { return static_cast<float>(value * m_realize); }

CG::vec3<float> ZvImage::Realize(const CG::vec3<float>& value) const { return {Realize(value.x), Realize(value.y), Realize(value.z)}; }

CG::vec4<float> ZvImage::Realize(const CG::vec4<float>& value) const {
    return {Realize(value.x), Realize(value.y), Realize(value.z), Realize(value.w)};
}

void ZvImage::GetPixelValue(int x, int y, int count, float* out, int firstChannel) const {
    if (m_depth != 8 && m_depth != 16) return;
    const unsigned char* pixel = GetPixel(x, y);
    for (int i = 0; i < count; ++i) {
        const long long wanted = std::min<long long>(static_cast<long long>(firstChannel) + i, m_channels - 1);
        const auto channel = static_cast<size_t>(std::max<long long>(wanted, 0));
        uint16_t sample = pixel[channel];
        if (m_depth == 16) std::memcpy(&sample, pixel + 2 * channel, sizeof sample);
        out[i] = static_cast<float>(sample * m_realize);
    }
}

HBITMAP ZvImage::GetHBITMAP() const {
    zvc::platform::BitmapHeader header{};
    header.size = sizeof header;
    header.width = m_width;
    header.height = m_height;
    header.planes = 1;
    header.bitCount = static_cast<uint16_t>(m_depth * m_channels);

    const long long rows = std::abs(static_cast<long long>(m_height));
    const bool hasPixels = m_data != nullptr && rows > 0 && m_width > 0 && m_channels > 0 && m_linePitch > 0;
    // Each row takes three bytes a pixel, and begins at the image's own pitch: the last one may reach behind the block.
    const long long room = hasPixels ? BlockBytes() + 3LL * m_width : 0;
    void* bits = nullptr;
    const HBITMAP bitmap = zvc::platform::CreateDibSection(header, static_cast<size_t>(room), &bits);
    if (bitmap == nullptr || !hasPixels) return bitmap;

    const auto sample = [this, bytes = BlockBytes()](long long at) { return at < bytes ? m_data[at] : static_cast<unsigned char>(0); };
    for (long long y = 0; y < rows; ++y) {
        unsigned char* to = static_cast<unsigned char*>(bits) + y * m_linePitch;
        long long from = y * m_linePitch;
        for (int x = 0; x < m_width; ++x, to += 3, from += m_channels) {
            to[0] = sample(from + 2);
            to[1] = sample(from + 1);
            to[2] = sample(from);
        }
    }
    return bitmap;
}

ZvImage::Loaded ZvImage::LoadFile(const char* path) {
    ZvStream$ stream = new ZvStdFILEStream(path, "rb");
    // A directory is no file, although some systems open it.
    if (stream->Fail() || zvc::platform::PathIsDirectory(path)) return Loaded::NotOpened;
    return LoadStream(stream, ExtensionOf(path));
}

ZvImage::Loaded ZvImage::LoadStream(ZvStream$& stream, const char* extension) {
    ZvImgCodec$ decoder = ZvImgCodec::GetDecoder(stream, extension);
    if (!decoder) return Loaded::NoDecoder;
    return decoder->DecodeImage(this) ? Loaded::Yes : Loaded::DecodeError;
}

bool ZvImage::Load(const char* path) { return LoadFile(path) == Loaded::Yes; }
bool ZvImage::Load(ZvStream$& stream) { return LoadStream(stream, nullptr) == Loaded::Yes; }

bool ZvImage::Save(const char* path, ...) const {
    std::vector<const char*> names, values;
    const char* extension = ExtensionOf(path);
    va_list pairs;
    va_start(pairs, path);
    while (const char* name = va_arg(pairs, const char*)) {
        names.push_back(name);
        values.push_back(va_arg(pairs, const char*));
        if (std::strcmp(name, "format") == 0) extension = values.back();
    }
    va_end(pairs);

    // Opened before a codec is sought, so that a failed save has emptied the file: meant so.
    ZvStream$ stream = new ZvStdFILEStream(path, "wb");
    ZvImgCodec$ encoder = ZvImgCodec::GetEncoder(stream, extension);
    if (!encoder) return false;
    const int count = static_cast<int>(names.size());
    return encoder->EncodeImage(this, count, count == 0 ? nullptr : names.data(), count == 0 ? nullptr : values.data());
}

bool ZvImage::Save(ZvStream$& stream, Format format) const {
    static const char* const extensions[] = {"bmp", "jpg", "png", "tif"};
    if (format < BMP || format > TIF) return false;
    ZvImgCodec$ encoder = ZvImgCodec::GetEncoder(stream, extensions[format]);
    return encoder && encoder->EncodeImage(this, 0, nullptr, nullptr);
}

size_t ZvImage::GetHashCode() const {
    // Threads that meet here store the same number.
    std::atomic_ref<uint32_t> hash(m_hash);
    const uint32_t known = hash.load(std::memory_order_relaxed);
    if (known != NotComputed || m_data == nullptr || m_linePitch == 0) return known;
    const auto layout = static_cast<uint32_t>(m_depth ^ m_channels ^ m_width ^ m_height);
    const uint32_t computed = zvc::detail::Crc32(m_data, static_cast<size_t>(std::max(BlockBytes(), 0LL))) ^ layout ^ 0x811C9DC5;
    hash.store(computed, std::memory_order_relaxed);
    return computed;
}

bool ZvImage::Equals(const ZvObject* other) const {
    if (other == this) return true;
    if (other == nullptr || other->GetType()->CalcOffset(&s_type) == ZvNoOffset) return false;
    const auto& image = *static_cast<const ZvImage*>(other);
    if (m_width != image.m_width || m_height != image.m_height || m_channels != image.m_channels || m_depth != image.m_depth)
        return false;
    // Our own pitch decides how many bytes count; a block that has fewer cannot hold the same.
    const long long bytes = BlockBytes();
    if (m_data == image.m_data || bytes <= 0) return true;
    if (m_data == nullptr || image.m_data == nullptr || image.BlockBytes() < bytes) return false;
    return std::memcmp(m_data, image.m_data, static_cast<size_t>(bytes)) == 0;
}

ZvObject* ZvImage::Clone() const { return new ZvImage(*this); }

ZvString$ ZvImage::ToString() const {
    // Channels and sample type as the characters of that number: meant so. The text ends at its first zero byte.
    std::string text = "width :" + std::to_string(m_width) + "\nheight:" + std::to_string(m_height) + "\nchannels:" + m_channels +
                       "\ndepth:" + std::to_string(m_depth) + "\nsample type:" + m_sampleType + "\n";
    if (m_data != nullptr && text.find('\0') == std::string::npos) {
        const long long rowBytes = static_cast<long long>(m_pixelPitch) * m_width;
        for (int y = 0; y < m_height; ++y) {              // nothing for a top-down image: meant so
            const unsigned char* row = GetLine(y);
            for (long long i = 0; i < rowBytes; ++i) {
                if (row[i] == 0) return new ZvString(text.c_str());
                text += static_cast<char>(row[i]);
                text += ' ';
            }
            text += '\n';
        }
    }
    return new ZvString(text.c_str());
}

void ZvImage::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, m_width);
    coder->Write(stream, m_height);
    coder->Write(stream, m_channels);
    coder->Write(stream, m_depth);
    coder->Write(stream, m_sampleType);
    const auto bytes = static_cast<size_t>(std::max(BlockBytes(), 0LL));
    if (m_data != nullptr) {
        coder->Write(stream, static_cast<const void*>(m_data), bytes);
    } else {                                              // a layout without pixels: zeros, which a reader counts on
        const std::vector<unsigned char> zeros(bytes);
        coder->Write(stream, static_cast<const void*>(zeros.data()), bytes);
    }
}

namespace {

[[noreturn]] void ThrowDecodeFailed(unsigned int line) {
    throw ZvCoderException(ZvCoderException::StreamFailed, "ZvImage", "ZvImage::Decode", line, "");
}

/// Reads a block of so many bytes. A count that the stream does not bear out comes in growing pieces, until a large one finds
/// the stream standing still: memory follows what arrives.
unsigned char* ReadPixels(ZvStream$& stream, ZvCoder* coder, size_t bytes) {
    constexpr size_t large = 1 << 20;
    std::unique_ptr<unsigned char, void (*)(unsigned char*)> pixels(nullptr, &zvc::detail::ReleasePixels);
    zvc::detail::Arrival arrival(stream, coder);
    size_t arrived = 0;
    do {
        const size_t piece = zvc::detail::RoomForBlock(stream, coder, arrived, bytes - arrived);
        unsigned char* room = arrived == 0 ? zvc::detail::NewPixels(static_cast<long long>(piece), true)
                                           : zvc::detail::GrowPixels(pixels.get(), arrived, arrived + piece);
        static_cast<void>(pixels.release());
        pixels.reset(room);
        coder->Read(stream, static_cast<void*>(room + arrived), piece);
        const bool stands = arrival.StandsStill();
        if (arrived + piece < bytes && arrived >= large && stands) ThrowDecodeFailed(__LINE__);
        arrived += piece;
    } while (arrived < bytes);
    return pixels.release();
}

}

void ZvImage::Decode(ZvStream$& stream, ZvCoder* coder) {
    int width = 0, height = 0;
    char channels = 0, sampleType = 0;
    short depth = 0;
    coder->Read(stream, width);
    coder->Read(stream, height);
    coder->Read(stream, channels);
    coder->Read(stream, depth);
    coder->Read(stream, sampleType);
    if (!FitsPitch(width, channels, depth)) ThrowDecodeFailed(__LINE__);
    const long long bytes = std::abs(static_cast<long long>(height)) * CalculateLinePitch(width, channels, depth);
    unsigned char* pixels = ReadPixels(stream, coder, static_cast<size_t>(std::max(bytes, 0LL)));
    StoreLayout(width, height, channels, depth, sampleType);
    m_data = pixels;                                      // an old block is not released: meant so
    m_ownsData = true;
    CalcRealize();
}
