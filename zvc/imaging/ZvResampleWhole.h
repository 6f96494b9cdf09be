#pragma once

// The triangle at exactly 2:1 and 1:2 in whole numbers. Internal; not for clients.
//
// Its weights there are 1/4, 1/2, 1/4 and 1/2, 1/2: every product and every sum is exact in a float, and so the integer
// below it is the integer below the same sum of whole numbers.

#include <cstddef>
#include <cstdint>

namespace zvc::detail {

class Contributions;

/// What one axis does, as far as whole numbers can do it.
enum class WholeAxis { No, Halved, Doubled };

/// How a table says that an axis of `from` positions is resampled.
WholeAxis WholeAxisOf(const Contributions& table, int from);

/// Where the bytes of a row of pixels go.
struct WholeShuffles {
    static constexpr size_t MostPixelBytes = 8;

    WholeShuffles(WholeAxis axis, size_t bytesOfPixel);

    size_t pixelBytes;
    size_t vectors;                                 ///< of 32 bytes, until the pattern of a doubled row begins again
    /// For a halved row: of 16 bytes those of every second pixel. For a doubled row: by vector, the bytes of the even pixels, and
    /// those of the odd ones.
    alignas(32) uint8_t kept[MostPixelBytes][32];
    alignas(32) uint8_t between[MostPixelBytes][32];
    size_t from[MostPixelBytes][2];                 ///< where the source bytes of each half of such a vector begin
};

/// Kernels for samples of 1 and 2 bytes. Nothing beyond the rows is read or written.
struct WholeKernels {
    /// A row of so many destination pixels, from half or twice as many.
    void (*halve[2])(const unsigned char* from, unsigned char* to, size_t pixels, const WholeShuffles& shuffles);
    void (*enlarge[2])(const unsigned char* from, unsigned char* to, size_t pixels, const WholeShuffles& shuffles);

    /// Each sample of a row from those of two rows, (a + b) / 2, and of three, (a + 2 b + c) / 4.
    void (*mean2[2])(const unsigned char* a, const unsigned char* b, unsigned char* to, size_t samples);
    void (*mean3[2])(const unsigned char* a, const unsigned char* b, const unsigned char* c, unsigned char* to, size_t samples);
};

/// For processors with AVX2.
extern const WholeKernels Avx2WholeKernels;

}
