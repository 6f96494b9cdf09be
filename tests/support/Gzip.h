#pragma once

// Gzip files put together by hand, and what the tests pour into the compressed streams.

#include "Bytes.h"

#include <cstdint>
#include <string>

namespace gzip {

inline std::string LittleEndian(uint32_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
    return bytes;
}

/// CRC-32 of ISO 3309, bit by bit.
inline uint32_t Crc(const std::string& content) {
    uint32_t crc = ~0u;
    for (const unsigned char c : content) {
        crc ^= c;
        for (int i = 0; i < 8; ++i) crc = crc >> 1 ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

inline std::string Header() { return FromHex("1f8b080000000000000b"); }
inline std::string Trailer(const std::string& content) {
    return LittleEndian(Crc(content)) + LittleEndian(static_cast<uint32_t>(content.size()));
}

/// The content as stored blocks of deflate data (RFC 1951, 3.2.4).
inline std::string Stored(const std::string& content) {
    std::string data;
    size_t at = 0;
    do {
        const auto size = static_cast<uint32_t>(std::min<size_t>(content.size() - at, 65535));
        const bool last = at + size == content.size();
        data += static_cast<char>(last);
        data += LittleEndian(size | ~size << 16);
        data += content.substr(at, size);
        at += size;
    } while (at < content.size());
    return data;
}

inline std::string Member(const std::string& content, const std::string& header = Header()) {
    return header + Stored(content) + Trailer(content);
}

/// Numbers that do not compress: a linear congruential generator (Knuth's MMIX).
inline std::string Noise(size_t size) {
    std::string bytes;
    uint64_t x = 1;
    for (size_t i = 0; i < size; ++i) {
        x = x * 6364136223846793005u + 1442695040888963407u;
        bytes.push_back(static_cast<char>(x >> 56));
    }
    return bytes;
}

/// Text that does.
inline std::string Prose(size_t size) {
    std::string text;
    for (size_t i = 0; text.size() < size; ++i) text += "line " + std::to_string(i * i % 977) + " of a longer text\n";
    text.resize(size);
    return text;
}

}
