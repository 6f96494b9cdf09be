#include "zvc/values/ZvCrc32.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

static_assert(std::endian::native == std::endian::little, "Words of the data are folded as little-endian numbers.");

constexpr size_t WordBytes = 8;
constexpr size_t Braids = 5;
constexpr size_t Block = Braids * WordBytes;

using Table = std::array<uint32_t, 256>;

// tables[n] holds what a byte does to the remainder when n more bytes follow it (M. E. Kounavis and F. L. Berry, "A
// systematic approach to building high performance software-based CRC generators", 2005). Made by the compiler: nothing is
// built at a first call that two threads could meet in.
constexpr std::array<Table, Block> MakeTables() {
    std::array<Table, Block> tables{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t r = byte;
        for (int bit = 0; bit < 8; ++bit) r = (r & 1) != 0 ? (r >> 1) ^ 0xedb88320u : r >> 1;
        tables[0][byte] = r;
    }
    for (size_t n = 1; n < Block; ++n)
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t r = tables[n - 1][byte];
            tables[n][byte] = (r >> 8) ^ tables[0][r & 0xff];
        }
    return tables;
}

constexpr std::array<Table, Block> s_tables = MakeTables();

uint64_t LoadWord(const unsigned char* at) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// What the eight bytes of a word do when Behind more bytes follow them.
template <size_t Behind>
uint32_t FoldWord(uint64_t word) {
    uint32_t r = 0;
#pragma GCC unroll 8
    for (size_t k = 0; k < WordBytes; ++k) r ^= s_tables[Behind + WordBytes - 1 - k][(word >> (8 * k)) & 0xff];
    return r;
}

uint32_t UpdateBytes(uint32_t r, const unsigned char* at, size_t left) {
    for (; left != 0; --left) r = (r >> 8) ^ s_tables[0][(r ^ *at++) & 0xff];
    return r;
}

// Several remainders side by side, each over every Braids-th word, keep the processor's units busy: none waits for another
// (A. Kadatch and B. Jenkins, "Everything we know about CRC but afraid to forget", 2010).
uint32_t UpdateBraided(uint32_t r, const unsigned char* at, size_t left) {
    if (left >= Block) {
        uint32_t braid[Braids] = {r};
        for (; left >= 2 * Block; left -= Block, at += Block)
#pragma GCC unroll 8
            for (size_t n = 0; n < Braids; ++n)
                braid[n] = FoldWord<Block - WordBytes>(LoadWord(at + n * WordBytes) ^ braid[n]);
        r = 0;
        for (size_t n = 0; n < Braids; ++n) r = FoldWord<0>(LoadWord(at + n * WordBytes) ^ braid[n] ^ r);
        left -= Block;
        at += Block;
    }
    return UpdateBytes(r, at, left);
}

#if defined(__x86_64__)

/// x to the n-th modulo the polynomial, in the reflected form that carry-less products of reflected numbers need.
constexpr uint64_t PowerOfX(int n) {
    uint32_t r = 0x80000000;
    for (; n != 0; --n) r = (r & 1) != 0 ? (r >> 1) ^ 0xedb88320u : r >> 1;
    return static_cast<uint64_t>(r) << 1;
}

/// What 16 bytes become when they move Bits further to the front of what is left.
template <int Bits>
__attribute__((target("pclmul"))) __m128i Moved(__m128i x) {
    const __m128i factors = _mm_set_epi64x(static_cast<long long>(PowerOfX(Bits - 32)), static_cast<long long>(PowerOfX(Bits + 32)));
    return _mm_xor_si128(_mm_clmulepi64_si128(x, factors, 0x00), _mm_clmulepi64_si128(x, factors, 0x11));
}

// Carry-less products fold 64 bytes at a time into four running blocks, and those into one that has the same remainder
// (V. Gopal and others, "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ Instruction", 2009). At least 64 bytes.
__attribute__((target("pclmul"))) uint32_t UpdateFolding(uint32_t r, const unsigned char* at, size_t left) {
    const auto load = [](const unsigned char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); };
    __m128i x[4];
    for (int i = 0; i < 4; ++i) x[i] = load(at + 16 * i);
    x[0] = _mm_xor_si128(x[0], _mm_cvtsi32_si128(static_cast<int>(r)));
    for (at += 64, left -= 64; left >= 64; at += 64, left -= 64)
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) x[i] = _mm_xor_si128(Moved<512>(x[i]), load(at + 16 * i));
    __m128i all = x[0];
    for (int i = 1; i < 4; ++i) all = _mm_xor_si128(Moved<128>(all), x[i]);
    for (; left >= 16; at += 16, left -= 16) all = _mm_xor_si128(Moved<128>(all), load(at));
    unsigned char folded[16];
    std::memcpy(folded, &all, sizeof folded);
    return UpdateBytes(UpdateBytes(0, folded, sizeof folded), at, left);
}

#endif

}

uint32_t zvc::detail::Crc32(const void* data, size_t length) {
    auto* at = static_cast<const unsigned char*>(data);
#if defined(__x86_64__)
    if (length >= 64 && __builtin_cpu_supports("pclmul")) return ~UpdateFolding(0xffffffffu, at, length);
#endif
    return ~UpdateBraided(0xffffffffu, at, length);
}

unsigned int Zv::crc32(const void* data, int length) {
    return zvc::detail::Crc32(data, length > 0 ? static_cast<size_t>(length) : 0);
}
