#include "zvc/values/ZvCrc32.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace {

static_assert(std::endian::native == std::endian::little, "The sixteen bytes are folded as little-endian words.");

constexpr int Slices = 16;
using Tables = std::array<std::array<uint32_t, 256>, Slices>;

// Slice n holds what a byte does to the remainder when n more bytes follow it (M. E. Kounavis and F. L. Berry, "A systematic
// approach to building high performance software-based CRC generators", 2005). Made by the compiler: nothing is built at a
// first call that two threads could meet in.
constexpr Tables MakeTables() {
    Tables tables{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t r = byte;
        for (int bit = 0; bit < 8; ++bit) r = (r & 1) != 0 ? (r >> 1) ^ 0xedb88320u : r >> 1;
        tables[0][byte] = r;
    }
    for (size_t slice = 1; slice < Slices; ++slice)
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t r = tables[slice - 1][byte];
            tables[slice][byte] = (r >> 8) ^ tables[0][r & 0xff];
        }
    return tables;
}

constexpr Tables s_tables = MakeTables();

// The four bytes of a word that stands `behind` bytes before the end of a block.
uint32_t FoldWord(uint32_t word, size_t behind) {
    return s_tables[behind + 3][word & 0xff] ^ s_tables[behind + 2][(word >> 8) & 0xff] ^
           s_tables[behind + 1][(word >> 16) & 0xff] ^ s_tables[behind][word >> 24];
}

}

unsigned int Zv::crc32(const void* data, int length) {
    auto* at = static_cast<const unsigned char*>(data);
    uint32_t r = 0xffffffffu;
    for (; length >= Slices; length -= Slices, at += Slices) {
        uint32_t words[4];
        std::memcpy(words, at, sizeof words);
        r = FoldWord(words[0] ^ r, 12) ^ FoldWord(words[1], 8) ^ FoldWord(words[2], 4) ^ FoldWord(words[3], 0);
    }
    for (; length > 0; --length) r = (r >> 8) ^ s_tables[0][(r ^ *at++) & 0xff];
    return ~r;
}
