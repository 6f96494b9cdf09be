#include "zvc/imaging/ZvResample.h"

#include "zvc/imaging/ZvFilter.h"
#include "zvc/imaging/ZvResampleLevels.h"
#include "zvc/imaging/ZvResampleWhole.h"
#include "zvc/values/ZvConversion.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

namespace zvc::detail {

Contributions::Contributions(const ZvFilter& filter, int to, int from) {
    m_begin.reserve(static_cast<size_t>(std::max(to, 0)) + 1);
    m_begin.push_back(0);
    if (from <= 0) {                                      // nothing to contribute
        m_begin.resize(static_cast<size_t>(std::max(to, 0)) + 1);
        return;
    }
    // No shift by half a pixel: position i of the destination is i / scale of the source.
    const float scale = static_cast<float>(to) / static_cast<float>(from);
    const float step = 1.0f / scale;
    const float shrink = scale >= 1.0f ? 1.0f : step;
    const float width = scale >= 1.0f ? filter.support() : filter.support() * step;
    for (int i = 0; i < to; ++i) {
        const float center = static_cast<float>(i) * step;
        Add(TruncateTo32(std::ceil(center - width)), TruncateTo32(std::floor(center + width)), from, center, shrink, filter);
    }
}

void Contributions::Add(long long left, long long right, int from, float center, float shrink, const ZvFilter& filter) {
    const size_t begin = m_entries.size();
    const float inverse = 1.0f / shrink;
    float sum = 0;
    for (long long j = left; j <= right; ++j) {
        const float distance = center - static_cast<float>(j);
        const float weight = shrink == 1.0f ? filter.func(distance) : filter.func(distance * inverse) * inverse;
        sum += weight;
        // One reflection at either edge. What is outside even then is held to the edge.
        const long long reflected = j < 0 ? -j : j >= from ? 2LL * from - j - 1 : j;
        m_entries.push_back({static_cast<int>(std::clamp<long long>(reflected, 0, from - 1)), weight});
    }
    if (sum > 0) {
        const float part = 1.0f / sum;
        for (size_t i = begin; i < m_entries.size(); ++i) m_entries[i].weight *= part;
    }
    const auto own = m_entries.begin() + static_cast<ptrdiff_t>(begin);
    m_entries.erase(std::remove_if(own, m_entries.end(), [](const Entry& entry) { return entry.weight == 0; }), m_entries.end());
    m_begin.push_back(m_entries.size());
}

HorizontalPlan::HorizontalPlan(const ZvFilter& filter, int to, int from, int channelsOfPixel)
    : table(filter, to, from), sourceWidth(from), channels(channelsOfPixel) {
    constexpr int step = 16;
    constexpr long long most = 256;                       // source pixels, where a step does not take more
    for (int x = 0; x < to;) {
        Piece piece{x, x, from, -1};
        do {
            int first = piece.first, last = piece.last;
            const int end = std::min(piece.end + step, to);
            for (int i = piece.end; i < end; ++i)
                for (const Contributions::Entry& entry : table[i]) {
                    first = std::min(first, entry.index);
                    last = std::max(last, entry.index);
                }
            if (piece.end > x && last - first >= most) break;
            piece = {x, end, first, last};
        } while (piece.end < to && piece.end - x < Width);
        if (piece.first <= piece.last)
            scratchFloats = std::max(scratchFloats, (static_cast<size_t>(piece.last - piece.first) + 1) * static_cast<size_t>(channels) *
                                                        static_cast<size_t>(ResampleKernels::Rows));
        pieces.push_back(piece);
        x = piece.end;
    }
}

const ResampleKernels* KernelsOf(ResampleLevel level) {
    __builtin_cpu_init();                                 // we may run before its own start
    switch (level) {
    case ResampleLevel::Sse2: return &Sse2Kernels;
    case ResampleLevel::Avx2: return __builtin_cpu_supports("avx2") ? &Avx2Kernels : nullptr;
    case ResampleLevel::Avx512: return __builtin_cpu_supports("avx512f") ? &Avx512Kernels : nullptr;
    }
    return nullptr;
}

const ResampleKernels& BestKernels() {
    for (const ResampleLevel level : {ResampleLevel::Avx512, ResampleLevel::Avx2})
        if (const ResampleKernels* kernels = KernelsOf(level)) return *kernels;
    return Sse2Kernels;
}

namespace {

constexpr int Block = ResampleKernels::Rows;

struct AlignedDelete {
    void operator()(float* floats) const { ::operator delete(floats, std::align_val_t{64}); }
};

constexpr int RoundedUp(int value, int step) { return (value + step - 1) / step * step; }

/// The horizontal pass over blocks of rows.
class HorizontalPass {
public:
    HorizontalPass(const SampleRows& from, int to, int channels, int bytes, const ZvFilter& filter, const ResampleKernels& kernels)
        : m_from(from), m_plan(filter, to, from.width, channels), m_bytes(bytes), m_kernels(kernels),
          m_whole(kernels.whole == nullptr || channels * bytes > static_cast<int>(WholeShuffles::MostPixelBytes)
                      ? WholeAxis::No : WholeAxisOf(m_plan.table, from.width)),
          m_shuffles(m_whole, static_cast<size_t>(channels * bytes)), m_scratch(static_cast<float*>(::operator new(m_plan.scratchFloats * sizeof(float) + 64, std::align_val_t{64}))) {}

    /// Rows [first, first + Block) to so many places. Behind the last row it is done again, so that all places are written.
    void Run(int first, unsigned char* const* to) {
        const unsigned char* rows[Block];
        for (int i = 0; i < Block; ++i) rows[i] = m_from.data + std::min(first + i, m_from.height - 1) * m_from.pitch;
        if (m_whole == WholeAxis::No) {
            m_kernels.horizontal[m_bytes - 1](rows, to, m_plan, m_scratch.get());
        } else {
            const WholeKernels& whole = *m_kernels.whole;
            const auto run = (m_whole == WholeAxis::Halved ? whole.halve : whole.enlarge)[m_bytes - 1];
            for (int i = 0; i < Block; ++i) run(rows[i], to[i], static_cast<size_t>(m_plan.table.Count()), m_shuffles);
        }
    }

private:
    SampleRows m_from;
    HorizontalPlan m_plan;
    int m_bytes;
    const ResampleKernels& m_kernels;
    WholeAxis m_whole;
    WholeShuffles m_shuffles;
    std::unique_ptr<float, AlignedDelete> m_scratch;
};

/// The rows between the passes, made when they are needed. Only the latest are kept, as many as a vertical table looks back
/// to, so that they stay in the processor's memory.
class Between {
public:
    Between(HorizontalPass& pass, const Contributions& vertical, int height, size_t rowBytes)
        : m_pass(pass), m_pitch((rowBytes + 63) / 64 * 64 + 64) {
        int made = 0, kept = Block;
        for (int i = 0; i < vertical.Count(); ++i) {
            for (const Contributions::Entry& entry : vertical[i]) made = std::max(made, RoundedUp(entry.index + 1, Block));
            for (const Contributions::Entry& entry : vertical[i]) kept = std::max(kept, made - entry.index);
        }
        m_kept = std::min(RoundedUp(kept, Block), RoundedUp(height, Block));
        m_rows.reset(static_cast<unsigned char*>(::operator new(static_cast<size_t>(m_kept) * m_pitch)));
    }

    void MakeUpTo(int row) {
        for (; m_made <= row; m_made += Block) {
            unsigned char* places[Block];
            for (int i = 0; i < Block; ++i) places[i] = Place(m_made + i);
            m_pass.Run(m_made, places);
        }
    }

    /// A row that was made, and is still kept.
    const unsigned char* operator[](int row) const { return Place(row); }

private:
    struct Delete {
        void operator()(unsigned char* rows) const { ::operator delete(rows); }
    };

    unsigned char* Place(int row) const { return m_rows.get() + static_cast<size_t>(row % m_kept) * m_pitch; }

    HorizontalPass& m_pass;
    size_t m_pitch;
    int m_kept = 0;
    int m_made = 0;
    std::unique_ptr<unsigned char, Delete> m_rows;
};

/// A row in whole numbers, where its weights allow it; false, with nothing written, where they do not.
template <class Row>
bool RunWhole(const WholeKernels* whole, std::span<const Contributions::Entry> entries, Row row, unsigned char* to, size_t samples, int bytes) {
    const auto isWeight = [entries](size_t i, float weight) { return entries[i].weight == weight; };
    if (entries.size() == 1 && isWeight(0, 1.0f))
        std::memcpy(to, row(entries[0].index), samples * static_cast<size_t>(bytes));
    else if (whole == nullptr)
        return false;
    else if (entries.size() == 2 && isWeight(0, 0.5f) && isWeight(1, 0.5f))
        whole->mean2[bytes - 1](row(entries[0].index), row(entries[1].index), to, samples);
    else if (entries.size() == 3 && isWeight(0, 0.25f) && isWeight(1, 0.5f) && isWeight(2, 0.25f))
        whole->mean3[bytes - 1](row(entries[0].index), row(entries[1].index), row(entries[2].index), to, samples);
    else
        return false;
    return true;
}

/// The vertical pass; prepare(last) is called before rows up to that one are asked for by row(index).
template <class Prepare, class Row>
void RunVertical(const Contributions& table, const SampleRows& to, size_t samples, int bytes, const ResampleKernels& kernels,
                 Prepare prepare, Row row) {
    std::vector<const unsigned char*> rows;
    std::vector<float> weights;
    for (int y = 0; y < to.height; ++y) {
        unsigned char* const target = to.data + y * to.pitch;
        const auto entries = table[y];
        if (entries.empty()) {
            std::memset(target, 0, samples * static_cast<size_t>(bytes));
            continue;
        }
        int last = 0;
        for (const Contributions::Entry& entry : entries) last = std::max(last, entry.index);
        prepare(last);
        if (RunWhole(kernels.whole, entries, row, target, samples, bytes)) continue;
        rows.clear();
        weights.clear();
        for (const Contributions::Entry& entry : entries) {
            rows.push_back(row(entry.index));
            weights.push_back(entry.weight);
        }
        kernels.vertical[bytes - 1](rows.data(), weights.data(), rows.size(), target, samples);
    }
}

/// Rows of the horizontal pass right into their places.
void RunHorizontal(HorizontalPass& pass, const SampleRows& to, size_t rowBytes) {
    const std::unique_ptr<unsigned char[]> beyond(new unsigned char[rowBytes + 64]);
    for (int y = 0; y < to.height; y += Block) {
        unsigned char* places[Block];
        for (int i = 0; i < Block; ++i) places[i] = y + i < to.height ? to.data + (y + i) * to.pitch : beyond.get();
        pass.Run(y, places);
    }
}

}

void Resample(const SampleRows& from, const SampleRows& to, int channels, int bytes, const ZvFilter& filter, const ResampleKernels& kernels) {
    if (to.width <= 0 || to.height <= 0) return;
    const size_t samples = static_cast<size_t>(to.width) * static_cast<size_t>(channels);
    const size_t rowBytes = samples * static_cast<size_t>(bytes);
    if (from.width == to.width && from.height == to.height) {
        for (int y = 0; y < to.height; ++y) std::memcpy(to.data + y * to.pitch, from.data + y * from.pitch, rowBytes);
    } else if (from.width == to.width || from.height <= 0) {
        const Contributions table(filter, to.height, from.height);
        RunVertical(table, to, samples, bytes, kernels, [](int) {}, [&](int y) { return from.data + y * from.pitch; });
    } else {
        HorizontalPass pass(from, to.width, channels, bytes, filter, kernels);
        if (from.height == to.height) return RunHorizontal(pass, to, rowBytes);
        const Contributions table(filter, to.height, from.height);
        Between between(pass, table, from.height, rowBytes);
        RunVertical(table, to, samples, bytes, kernels, [&](int last) { between.MakeUpTo(last); }, [&](int y) { return between[y]; });
    }
}

}
