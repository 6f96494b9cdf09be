#include "zvc/values/ZvCrc32.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

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

}

// Several remainders side by side, each over every Braids-th word, keep the processor's units busy: none waits for another
// (A. Kadatch and B. Jenkins, "Everything we know about CRC but afraid to forget", 2010).
uint32_t zvc::detail::Crc32(const void* data, size_t left) {
    auto* at = static_cast<const unsigned char*>(data);
    uint32_t r = 0xffffffffu;
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
    for (; left != 0; --left) r = (r >> 8) ^ s_tables[0][(r ^ *at++) & 0xff];
    return ~r;
}

unsigned int Zv::crc32(const void* data, int length) {
    return zvc::detail::Crc32(data, length > 0 ? static_cast<size_t>(length) : 0);
}
