#include "common/FileCodec.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <new>
#include <string_view>

namespace zvc::codecs {

namespace {

constexpr int64_t FreeBytes = 4 << 20;             // a picture of this size may come out of any file
constexpr long long LargestFile = 1LL << 32;
constexpr size_t FirstPiece = 1 << 16;

}

const char* Options::Text(const char* name) const {
    for (int i = m_count - 1; i >= 0; --i)
        if (m_names[i] != nullptr && m_values[i] != nullptr && std::strcmp(m_names[i], name) == 0) return m_values[i];
    return nullptr;
}

int Options::Number(const char* name, int fallback, int least, int greatest) const {
    const char* text = Text(name);
    if (text == nullptr) return fallback;
    int number = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    if (error != std::errc() || stop != end) return fallback;
    return std::clamp(number, least, greatest);
}

bool Options::Flag(const char* name) const {
    const char* text = Text(name);
    if (text == nullptr) return false;
    const std::string_view word = text;
    return word == "1" || word == "true" || word == "yes" || word == "on";
}

// A stream that finds its end tells how much there is, and is not read beyond it, where some streams fail for good. Others
// are read until they give less than was asked for. What is taken grows with what arrives.
bool FileCodec::ReadRest(Buffer& file) {
    const long long start = Tellg();
    Seekg(0, ZvStream::End);
    const long long end = Tellg();
    if (end != start) Seekg(start, ZvStream::Begin);
    const bool known = start >= 0 && end > start;
    long long left = known ? end - start : LargestFile;
    if (left > LargestFile) return false;
    size_t piece = FirstPiece;
    for (size_t size = 0; left > 0; piece = std::max(piece, size)) {
        const auto wanted = std::min(left, static_cast<long long>(piece));
        file.resize(size + static_cast<size_t>(wanted));
        const long long got = std::max(Read(file.data() + size, wanted), 0LL);
        size += static_cast<size_t>(got);
        left -= got;
        file.resize(size);
        if (got < wanted) break;
    }
    return !file.empty();
}

bool FileCodec::DecodeImage(ZvImage* image) {
    try {
        Buffer file;
        const long long start = Tellg();
        if (!ReadRest(file)) return false;
        size_t used = file.size();
        if (!Decode(file, *image, used)) return false;
        if (start >= 0 && used < file.size()) Seekg(start + static_cast<long long>(used), ZvStream::Begin);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const ZvBadAllocException&) {
        return false;
    }
}

bool FileCodec::EncodeImage(const ZvImage* image, int optionCount, const char** names, const char** values) {
    const int channels = image->GetChannels(), depth = image->GetDepth();
    if (Fail() || image->GetBaseAddress() == nullptr || image->GetWidth() <= 0) return false;
    if (image->GetHeight() == 0 || image->GetHeight() == INT_MIN) return false;
    if (channels < 1 || channels > 4 || (depth != 8 && depth != 16)) return false;
    if (image->GetLinePitch() < int64_t(image->GetWidth()) * channels * (depth / 8)) return false;
    if (IsPacked(*image) && !TakesPacked()) return false;
    try {
        Buffer file;
        if (!Encode(*image, Options(optionCount, names, values), file)) return false;
        const auto size = static_cast<long long>(file.size());
        if (Write(file.data(), size) != size) return false;
        Flush();
        return !Fail();
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const ZvBadAllocException&) {
        return false;
    }
}

bool IsInProportion(uint64_t bytes, size_t fileSize, int64_t bytesPerByte) {
    return bytes <= static_cast<uint64_t>(FreeBytes) + static_cast<uint64_t>(fileSize) * static_cast<uint64_t>(bytesPerByte);
}

bool CreateImage(ZvImage& image, int64_t width, int64_t height, int channels, int depth, size_t fileSize, int64_t bytesPerByte,
                 char sampleType) {
    const int64_t rows = height < 0 ? -height : height;
    const int64_t bits = int64_t(channels) * depth;
    // The image counts a row's bits in 32 bits.
    if (width <= 0 || rows == 0 || rows > INT_MAX || width > (INT_MAX - 64) / bits) return false;
    const int64_t pitch = (width * bits / 8 + 3) & ~int64_t(3);
    if (!IsInProportion(static_cast<uint64_t>(pitch) * static_cast<uint64_t>(rows), fileSize, bytesPerByte)) return false;
    return image.Create(static_cast<int>(width), static_cast<int>(height), static_cast<char>(channels), static_cast<short>(depth),
                        sampleType, nullptr, 0, true);
}

uint8_t* RowFromTop(ZvImage& image, int y) { return image.GetLine(image.IsBottomUp() ? RowCount(image) - 1 - y : y); }
const uint8_t* RowFromTop(const ZvImage& image, int y) { return image.GetLine(image.IsBottomUp() ? RowCount(image) - 1 - y : y); }

}
