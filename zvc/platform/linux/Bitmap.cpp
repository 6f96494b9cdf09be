#include "zvc/platform/Bitmap.h"

#include <cstdlib>
#include <cstring>

namespace zvc::platform {

namespace {

/// Rows of a bitmap begin at multiples of four bytes.
uint64_t BytesOfRows(const BitmapHeader& header) {
    const uint64_t bits = uint64_t(header.width < 0 ? 0 : header.width) * header.bitCount;
    const auto rows = static_cast<uint64_t>(header.height < 0 ? -int64_t(header.height) : header.height);
    return (bits + 31) / 32 * 4 * rows;
}

}

HBITMAP CreateDibSection(const BitmapHeader& header, size_t room, void** bits) noexcept {
    *bits = nullptr;
    const uint64_t own = BytesOfRows(header);
    const size_t bytes = room > own ? room : own;
    if (bytes > SIZE_MAX / 2) return nullptr;
    void* block = std::calloc(1, sizeof header + bytes);
    if (block == nullptr) return nullptr;
    std::memcpy(block, &header, sizeof header);
    const auto bitmap = static_cast<HBITMAP>(block);
    *bits = GetBitmapBits(bitmap);
    return bitmap;
}

const BitmapHeader* GetBitmapHeader(HBITMAP bitmap) noexcept { return reinterpret_cast<const BitmapHeader*>(bitmap); }

void* GetBitmapBits(HBITMAP bitmap) noexcept {
    return bitmap == nullptr ? nullptr : reinterpret_cast<BitmapHeader*>(bitmap) + 1;
}

bool DeleteBitmap(HBITMAP bitmap) noexcept {
    std::free(bitmap);
    return bitmap != nullptr;
}

}
