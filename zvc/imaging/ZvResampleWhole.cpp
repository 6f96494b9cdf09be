#include "zvc/imaging/ZvResampleWhole.h"

#include "zvc/imaging/ZvResample.h"

#include <cstring>
#include <immintrin.h>

namespace zvc::detail {

namespace {

bool Is(const Contributions::Entry& entry, int index, float weight) { return entry.index == index && entry.weight == weight; }

bool IsHalved(const Contributions& table, int from) {
    if (table.Count() * 2 != from) return false;
    for (int i = 0; i < table.Count(); ++i) {
        const auto entries = table[i];
        const int before = i == 0 ? 1 : 2 * i - 1;
        if (entries.size() != 3 || !Is(entries[0], before, 0.25f) || !Is(entries[1], 2 * i, 0.5f) || !Is(entries[2], 2 * i + 1, 0.25f)) return false;
    }
    return true;
}

bool IsDoubled(const Contributions& table, int from) {
    if (table.Count() != from * 2) return false;
    for (int i = 0; i < from; ++i) {
        const auto even = table[2 * i], odd = table[2 * i + 1];
        const int behind = i + 1 < from ? i + 1 : i;
        if (even.size() != 1 || !Is(even[0], i, 1.0f)) return false;
        if (odd.size() != 2 || !Is(odd[0], i, 0.5f) || !Is(odd[1], behind, 0.5f)) return false;
    }
    return true;
}

}

WholeAxis WholeAxisOf(const Contributions& table, int from) {
    if (from <= 0 || from > INT32_MAX / 2) return WholeAxis::No;
    return IsHalved(table, from) ? WholeAxis::Halved : IsDoubled(table, from) ? WholeAxis::Doubled : WholeAxis::No;
}

WholeShuffles::WholeShuffles(WholeAxis axis, size_t bytesOfPixel) : pixelBytes(bytesOfPixel), vectors(1) {
    constexpr uint8_t nothing = 0x80;
    std::memset(kept, nothing, sizeof kept);
    std::memset(between, nothing, sizeof between);
    const auto pixelOf = [this](size_t byte) { return byte / pixelBytes; };
    if (axis == WholeAxis::Halved) {
        for (size_t byte = 0; byte < 16; ++byte) {
            const size_t source = 2 * pixelOf(byte) * pixelBytes + byte % pixelBytes;
            if ((2 * pixelOf(byte) + 1) * pixelBytes <= 16) kept[0][byte] = kept[0][byte + 16] = static_cast<uint8_t>(source);
        }
        return;
    }
    // 16 bytes begin at the same place of a pair of pixels again after as many as a pixel has, at the latest.
    while (16 * vectors % (2 * pixelBytes) != 0) ++vectors;
    for (size_t vector = 0; vector < vectors; ++vector)
        for (size_t half = 0; half < 2; ++half) {
            const size_t first = 32 * vector + 16 * half;
            from[vector][half] = pixelOf(first) / 2 * pixelBytes;
            for (size_t i = 0; i < 16; ++i) {
                const size_t pixel = pixelOf(first + i);
                const size_t source = pixel / 2 * pixelBytes + (first + i) % pixelBytes - from[vector][half];
                (pixel % 2 == 0 ? kept : between)[vector][16 * half + i] = static_cast<uint8_t>(source);
            }
        }
}

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace {

template <class T>
T Load(const unsigned char* from) {
    T sample;
    std::memcpy(&sample, from, sizeof sample);
    return sample;
}

template <class T>
void Store(unsigned int sum, unsigned char* to) {
    const auto sample = static_cast<T>(sum);
    std::memcpy(to, &sample, sizeof sample);
}

template <class T>
void StoreMean2(const unsigned char* a, const unsigned char* b, unsigned char* to) {
    Store<T>((unsigned(Load<T>(a)) + Load<T>(b)) / 2, to);
}

template <class T>
void StoreMean3(const unsigned char* a, const unsigned char* b, const unsigned char* c, unsigned char* to) {
    Store<T>((unsigned(Load<T>(a)) + 2u * Load<T>(b) + Load<T>(c)) / 4, to);
}

__m256i Bytes32(const unsigned char* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
__m256i TwoHalves(const unsigned char* low, const unsigned char* high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}
void Put32(unsigned char* to, __m256i bytes) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes); }

/// (a + b) / 2 of each sample, without its fraction: the instruction's mean is rounded up where exactly one of them is odd.
template <class T>
__m256i Mean(__m256i a, __m256i b) {
    if constexpr (sizeof(T) == 1)
        return _mm256_sub_epi8(_mm256_avg_epu8(a, b), _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi8(1)));
    else
        return _mm256_sub_epi16(_mm256_avg_epu16(a, b), _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi16(1)));
}

/// (a + 2 b + c) / 4: cutting off twice is the same as once.
template <class T>
__m256i Mean(__m256i a, __m256i b, __m256i c) {
    return Mean<T>(Mean<T>(a, c), b);
}

template <class T>
void Mean2(const unsigned char* a, const unsigned char* b, unsigned char* to, size_t samples) {
    const size_t bytes = samples * sizeof(T);
    size_t i = 0;
    for (; i + 32 <= bytes; i += 32) Put32(to + i, Mean<T>(Bytes32(a + i), Bytes32(b + i)));
    for (; i < bytes; i += sizeof(T)) StoreMean2<T>(a + i, b + i, to + i);
}

template <class T>
void Mean3(const unsigned char* a, const unsigned char* b, const unsigned char* c, unsigned char* to, size_t samples) {
    const size_t bytes = samples * sizeof(T);
    size_t i = 0;
    for (; i + 32 <= bytes; i += 32) Put32(to + i, Mean<T>(Bytes32(a + i), Bytes32(b + i), Bytes32(c + i)));
    for (; i < bytes; i += sizeof(T)) StoreMean3<T>(a + i, b + i, c + i, to + i);
}

template <class T>
void Halve(const unsigned char* from, unsigned char* to, size_t pixels, const WholeShuffles& shuffles) {
    const size_t size = shuffles.pixelBytes;
    // Those before the first pixel are those behind it.
    for (size_t i = 0; i < size; i += sizeof(T)) StoreMean3<T>(from + size + i, from + i, from + size + i, to + i);
    size_t done = size;                                     // bytes of the destination; the source's stand at twice as many
    const size_t end = pixels * size, step = ((16 - size) / (2 * size) + 1) * size;      // of one half of a vector
    const __m256i kept = _mm256_load_si256(reinterpret_cast<const __m256i*>(shuffles.kept[0]));
    for (; done + step + 16 <= end && 2 * (done + step) + size + 16 <= 2 * end; done += 2 * step) {
        const unsigned char *low = from + 2 * done, *high = low + 2 * step;
        const __m256i means = Mean<T>(TwoHalves(low - size, high - size), TwoHalves(low, high), TwoHalves(low + size, high + size));
        const __m256i packed = _mm256_shuffle_epi8(means, kept);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done), _mm256_castsi256_si128(packed));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done + step), _mm256_extracti128_si256(packed, 1));
    }
    for (; done < end; done += size)
        for (size_t i = 0; i < size; i += sizeof(T)) {
            const unsigned char* at = from + 2 * done + i;
            StoreMean3<T>(at - size, at, at + size, to + done + i);
        }
}

template <class T>
void Enlarge(const unsigned char* from, unsigned char* to, size_t pixels, const WholeShuffles& shuffles) {
    const size_t size = shuffles.pixelBytes, sourceEnd = pixels / 2 * size, round = 32 * shuffles.vectors;
    size_t done = 0;                                        // bytes of the source; the destination's stand at twice as many
    for (; done + round / 2 + size + 16 <= sourceEnd; done += round / 2)
        for (size_t vector = 0; vector < shuffles.vectors; ++vector) {
            const unsigned char *low = from + done + shuffles.from[vector][0], *high = from + done + shuffles.from[vector][1];
            const __m256i pixelsThere = TwoHalves(low, high);
            const __m256i means = Mean<T>(pixelsThere, TwoHalves(low + size, high + size));
            const __m256i even = _mm256_shuffle_epi8(pixelsThere, _mm256_load_si256(reinterpret_cast<const __m256i*>(shuffles.kept[vector])));
            const __m256i odd = _mm256_shuffle_epi8(means, _mm256_load_si256(reinterpret_cast<const __m256i*>(shuffles.between[vector])));
            Put32(to + 2 * done + 32 * vector, _mm256_or_si256(even, odd));
        }
    for (; done < sourceEnd; done += size) {
        const unsigned char* at = from + done;
        const unsigned char* behind = done + size < sourceEnd ? at + size : at;
        std::memcpy(to + 2 * done, at, size);
        for (size_t i = 0; i < size; i += sizeof(T)) StoreMean2<T>(at + i, behind + i, to + 2 * done + size + i);
    }
}

}

const WholeKernels Avx2WholeKernels = {{&Halve<uint8_t>, &Halve<uint16_t>},
                                       {&Enlarge<uint8_t>, &Enlarge<uint16_t>},
                                       {&Mean2<uint8_t>, &Mean2<uint16_t>},
                                       {&Mean3<uint8_t>, &Mean3<uint16_t>}};

}

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
