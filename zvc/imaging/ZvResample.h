#pragma once

// The two passes of ZvImage::Resize over plain blocks of samples. Internal; not for clients.
//
// Every sample is the sum of float(source sample) * weight in the order of its contributions, each product and each sum
// rounded to a float, and cut off to an integer at the end. The kernels of the instruction sets keep that order, and so give
// the same bytes; they only work on several samples side by side.

#include "zvc/platform/Api.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class ZvFilter;

namespace zvc::detail {

struct WholeKernels;

/// Destination samples in one axis, each with the source indices and weights that it is made of.
class ZV_API Contributions {
public:
    struct Entry {
        int index;                  ///< always inside the source
        float weight;
    };

    /// The table for to destination positions from `from` source positions. Entries of weight 0 are left out: they change no
    /// sum.
    Contributions(const ZvFilter& filter, int to, int from);

    int Count() const { return static_cast<int>(m_begin.size()) - 1; }
    std::span<const Entry> operator[](int position) const {
        const auto at = static_cast<size_t>(position);
        return {m_entries.data() + m_begin[at], m_begin[at + 1] - m_begin[at]};
    }

private:
    void Add(long long left, long long right, int from, float center, float shrink, const ZvFilter& filter);

    std::vector<Entry> m_entries;
    std::vector<size_t> m_begin;    // of each position's entries, and the end
};

/// A horizontal pass, cut into pieces whose source samples stay in the processor's nearest memory.
struct ZV_API HorizontalPlan {
    struct Piece {
        int begin, end;                     ///< destination pixels, the end not included
        int first, last;                    ///< the source pixels that they are made of, the last included; last < first: none
    };
    static constexpr int Width = 64;        ///< pixels of a piece at the most

    HorizontalPlan(const ZvFilter& filter, int to, int from, int channelsOfPixel);

    Contributions table;
    std::vector<Piece> pieces;
    int sourceWidth, channels;
    size_t scratchFloats = 0;               ///< that a kernel needs
};

/// What one instruction set has to offer, for samples of 1 and 2 bytes.
struct ResampleKernels {
    static constexpr int Rows = 16;         ///< that the horizontal pass does at once

    /// Resamples Rows rows, which may lie anywhere; scratch is aligned to 64 bytes.
    void (*horizontal[2])(const unsigned char* const* from, unsigned char* const* to, const HorizontalPlan& plan, float* scratch);
    /// One row of so many samples from count weighted rows.
    void (*vertical[2])(const unsigned char* const* from, const float* weights, size_t count, unsigned char* to, size_t samples);

    const WholeKernels* whole;              ///< null where the set has none
};

enum class ResampleLevel { Sse2, Avx2, Avx512 };

/// The kernels of an instruction set; null where the processor does not have it.
ZV_API const ResampleKernels* KernelsOf(ResampleLevel level);

/// The best kernels that the processor has.
ZV_API const ResampleKernels& BestKernels();

/// Rows of interleaved samples, each pitch bytes behind the one before it.
struct SampleRows {
    unsigned char* data;
    ptrdiff_t pitch;
    int width, height;                      ///< the height counts rows; 0 or less for none
};

/// Resamples `from` to the size of `to`, at most eight channels of `bytes` (1 or 2) each, horizontally first. An axis whose size
/// stays is copied. What pads a row of `to` is left alone. Source and destination must not overlap.
ZV_API void Resample(const SampleRows& from, const SampleRows& to, int channels, int bytes, const ZvFilter& filter,
                     const ResampleKernels& kernels);

}
