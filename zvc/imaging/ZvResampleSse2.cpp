#include "zvc/imaging/ZvResampleLevels.h"

#include <cstring>
#include <immintrin.h>

#define ZV_KERNEL [[gnu::always_inline]] inline

namespace zvc::detail {

namespace {

using Register = __m128;
struct Sixteen {
    Register part[4];
};

ZV_KERNEL Sixteen LoadFloats(const float* from) {
    return {{_mm_load_ps(from), _mm_load_ps(from + 4), _mm_load_ps(from + 8), _mm_load_ps(from + 12)}};
}

ZV_KERNEL void StoreFloats(const Sixteen& v, float* to) {
    ZV_UNROLL
    for (int i = 0; i < 4; ++i) _mm_storeu_ps(to + 4 * i, v.part[i]);
}

ZV_KERNEL Sixteen FromWords(__m128i low, __m128i high) {
    const __m128i zero = _mm_setzero_si128();
    return {{_mm_cvtepi32_ps(_mm_unpacklo_epi16(low, zero)), _mm_cvtepi32_ps(_mm_unpackhi_epi16(low, zero)),
             _mm_cvtepi32_ps(_mm_unpacklo_epi16(high, zero)), _mm_cvtepi32_ps(_mm_unpackhi_epi16(high, zero))}};
}

ZV_KERNEL Sixteen FromBytes(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    return FromWords(_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero));
}

ZV_KERNEL Register Broadcast(float value) { return _mm_set1_ps(value); }

ZV_KERNEL void AddProduct(Sixteen& sum, const Sixteen& v, Register weight) {
    ZV_UNROLL
    for (int i = 0; i < 4; ++i) sum.part[i] = _mm_add_ps(sum.part[i], _mm_mul_ps(v.part[i], weight));
}

ZV_KERNEL void StoreBytes(const Sixteen& sums, unsigned char* to) {
    __m128i cut[4];
    ZV_UNROLL
    for (int i = 0; i < 4; ++i) cut[i] = _mm_and_si128(_mm_cvttps_epi32(sums.part[i]), _mm_set1_epi32(0xFF));
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(cut[0], cut[1]), _mm_packs_epi32(cut[2], cut[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

/// False, with nothing stored, where a sum does not fit into 32 bits.
ZV_KERNEL bool StoreWords(const Sixteen& sums, unsigned char* to) {
    __m128i cut[4], misfit = _mm_setzero_si128();
    ZV_UNROLL
    for (int i = 0; i < 4; ++i) {
        cut[i] = _mm_cvttps_epi32(sums.part[i]);
        misfit = _mm_or_si128(misfit, _mm_cmpeq_epi32(cut[i], _mm_set1_epi32(INT32_MIN)));
        cut[i] = _mm_srai_epi32(_mm_slli_epi32(cut[i], 16), 16);        // so that packing does not limit
    }
    if (_mm_movemask_epi8(misfit) != 0) return false;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(cut[0], cut[1]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + 1, _mm_packs_epi32(cut[2], cut[3]));
    return true;
}

#include "zvc/imaging/ZvResampleKernels.inc"

}

const ResampleKernels Sse2Kernels = {{&Horizontal<uint8_t>, &Horizontal<uint16_t>}, {&Vertical<uint8_t>, &Vertical<uint16_t>}, nullptr};

}
