#pragma once

#include <string>

/// The bytes that stand in a text as pairs of hexadecimal digits.
inline std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline std::string ToHex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex.push_back(digits[static_cast<unsigned char>(c) >> 4]);
        hex.push_back(digits[c & 15]);
    }
    return hex;
}
