#include "zvc/imaging/ZvResampleLevels.h"
#include "zvc/imaging/ZvResampleWhole.h"

#include <cstring>
#include <immintrin.h>

#define ZV_KERNEL [[gnu::always_inline]] inline

// From here on functions may use the instruction set. What was included above does not: it is shared with other files.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace zvc::detail {

namespace {

using Register = __m256;
struct Sixteen {
    Register part[2];
};

ZV_KERNEL Sixteen LoadFloats(const float* from) { return {{_mm256_load_ps(from), _mm256_load_ps(from + 8)}}; }

ZV_KERNEL void StoreFloats(const Sixteen& v, float* to) {
    _mm256_storeu_ps(to, v.part[0]);
    _mm256_storeu_ps(to + 8, v.part[1]);
}

ZV_KERNEL Sixteen FromWords(__m128i low, __m128i high) {
    return {{_mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(low)), _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(high))}};
}

ZV_KERNEL Sixteen FromBytes(__m128i bytes) {
    return {{_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)),
             _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_unpackhi_epi64(bytes, bytes)))}};
}

ZV_KERNEL Register Broadcast(float value) { return _mm256_set1_ps(value); }

ZV_KERNEL void AddProduct(Sixteen& sum, const Sixteen& v, Register weight) {
    ZV_UNROLL
    for (int i = 0; i < 2; ++i) sum.part[i] = _mm256_add_ps(sum.part[i], _mm256_mul_ps(v.part[i], weight));
}

ZV_KERNEL void StoreBytes(const Sixteen& sums, unsigned char* to) {
    const __m256i mask = _mm256_set1_epi32(0xFF);
    const __m256i low = _mm256_and_si256(_mm256_cvttps_epi32(sums.part[0]), mask);
    const __m256i high = _mm256_and_si256(_mm256_cvttps_epi32(sums.part[1]), mask);
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(low, high), 0xD8);
    const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

/// False, with nothing stored, where a sum does not fit into 32 bits.
ZV_KERNEL bool StoreWords(const Sixteen& sums, unsigned char* to) {
    const __m256i low = _mm256_cvttps_epi32(sums.part[0]), high = _mm256_cvttps_epi32(sums.part[1]);
    const __m256i least = _mm256_set1_epi32(INT32_MIN), mask = _mm256_set1_epi32(0xFFFF);
    const __m256i misfit = _mm256_or_si256(_mm256_cmpeq_epi32(low, least), _mm256_cmpeq_epi32(high, least));
    if (_mm256_movemask_epi8(misfit) != 0) return false;
    const __m256i words = _mm256_packus_epi32(_mm256_and_si256(low, mask), _mm256_and_si256(high, mask));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_permute4x64_epi64(words, 0xD8));
    return true;
}

#include "zvc/imaging/ZvResampleKernels.inc"

}

const ResampleKernels Avx2Kernels = {{&Horizontal<uint8_t>, &Horizontal<uint16_t>}, {&Vertical<uint8_t>, &Vertical<uint16_t>}, &Avx2WholeKernels};

}

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
