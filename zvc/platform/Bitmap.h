#pragma once

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>

struct HBITMAP__;
/// A device-independent bitmap. Where the system has none, the address of a block of memory: a BitmapHeader, and the
/// rows right behind it.
using HBITMAP = HBITMAP__*;

namespace zvc::platform {

/// The head of a device-independent bitmap.
struct BitmapHeader {
    uint32_t size;                  ///< of this header: 40
    int32_t width, height;          ///< a positive height is bottom-up
    uint16_t planes, bitCount;
    uint32_t compression, imageSize;
    int32_t horizontalResolution, verticalResolution;
    uint32_t colorsUsed, colorsImportant;
};
static_assert(sizeof(BitmapHeader) == 40);

/// A new bitmap of that header, all of it zero, with room for at least `room` bytes of rows, which *bits points at. Null,
/// with *bits null, where there is no memory. The caller gives it back with DeleteBitmap.
ZV_API HBITMAP CreateDibSection(const BitmapHeader& header, size_t room, void** bits) noexcept;

/// The parts of a bitmap, valid until it is deleted; null for null.
ZV_API const BitmapHeader* GetBitmapHeader(HBITMAP bitmap) noexcept;
ZV_API void* GetBitmapBits(HBITMAP bitmap) noexcept;

/// Gives a bitmap back, once. False for null.
ZV_API bool DeleteBitmap(HBITMAP bitmap) noexcept;

}
