#include "zvc/imaging/ZvResampleLevels.h"
#include "zvc/imaging/ZvResampleWhole.h"

// g++ takes the undefined operands in its own header for mistakes.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <cstring>
#include <immintrin.h>

#define ZV_KERNEL [[gnu::always_inline]] inline

// From here on functions may use the instruction set. What was included above does not: it is shared with other files.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f")
#endif

namespace zvc::detail {

namespace {

using Register = __m512;
struct Sixteen {
    Register part;
};

ZV_KERNEL Sixteen LoadFloats(const float* from) { return {_mm512_load_ps(from)}; }

ZV_KERNEL void StoreFloats(const Sixteen& v, float* to) { _mm512_storeu_ps(to, v.part); }

ZV_KERNEL Sixteen FromWords(__m128i low, __m128i high) {
    return {_mm512_cvtepi32_ps(_mm512_cvtepu16_epi32(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1)))};
}

ZV_KERNEL Sixteen FromBytes(__m128i bytes) { return {_mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(bytes))}; }

ZV_KERNEL Register Broadcast(float value) { return _mm512_set1_ps(value); }

ZV_KERNEL void AddProduct(Sixteen& sum, const Sixteen& v, Register weight) {
    sum.part = _mm512_add_ps(sum.part, _mm512_mul_ps(v.part, weight));
}

ZV_KERNEL void StoreBytes(const Sixteen& sums, unsigned char* to) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(_mm512_cvttps_epi32(sums.part)));
}

/// False, with nothing stored, where a sum does not fit into 32 bits.
ZV_KERNEL bool StoreWords(const Sixteen& sums, unsigned char* to) {
    const __m512i cut = _mm512_cvttps_epi32(sums.part);
    if (_mm512_cmpeq_epi32_mask(cut, _mm512_set1_epi32(INT32_MIN)) != 0) return false;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi32_epi16(cut));
    return true;
}

#include "zvc/imaging/ZvResampleKernels.inc"

}

const ResampleKernels Avx512Kernels = {{&Horizontal<uint8_t>, &Horizontal<uint16_t>}, {&Vertical<uint8_t>, &Vertical<uint16_t>}, &Avx2WholeKernels};

}

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
