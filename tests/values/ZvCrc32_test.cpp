#include "zvc/values/ZvCrc32.h"

#include "../support/Bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

TEST(ZvCrc32, OfTheNineDigitsIsTheCheckValue) { EXPECT_EQ(Zv::crc32("123456789", 9), 0xcbf43926u); }

TEST(ZvCrc32, OfNothingIsZero) {
    EXPECT_EQ(Zv::crc32("", 0), 0u);
    EXPECT_EQ(Zv::crc32(nullptr, 0), 0u);
    EXPECT_EQ(Zv::crc32("abc", -1), 0u);
}

TEST(ZvCrc32, ComputedCases) {
    const struct {
        const char* bytes;
        unsigned int crc;
    } cases[] = {
        {"f502a18a0425e3d07d745d933023798f2d02b4680ce91b119cfbe555aa49b14fb2a17aa15cbba47446ad3fce9a", 0x38eee8b8},
        {"f2cf5a4ba72a7b8d604ac636322f361df81f01a8b005d1e7956556bb6012a60d72ffaeb3e64260d86d3b", 0x39b205b8},
        {"29c691d9547c55c3af5191bb4f35ae86f73bc4afba09682cf3aac64010a1177b485fdfcbc890b1351950162d", 0x2d31cf60},
        {"f513c768494cb527c08d3e1222e7f92dbce98916144929d02ccab3e0845c9422460e9ebe6382444dc6fa84", 0xa784c5de},
    };
    for (const auto& c : cases) {
        const std::string bytes = FromHex(c.bytes);
        EXPECT_EQ(Zv::crc32(bytes.data(), static_cast<int>(bytes.size())), c.crc);
    }
}

// The definition, one bit after the other.
TEST(ZvCrc32, EveryLengthAndAlignmentFollowsTheDefinition) {
    std::string bytes;
    for (int i = 0; i < 400; ++i) bytes.push_back(static_cast<char>(i * 37 + i / 3));
    for (size_t start = 0; start < 17; ++start)
        for (size_t length = 0; start + length <= 300; ++length) {
            uint32_t r = ~0u;
            for (size_t i = 0; i < length; ++i) {
                r ^= static_cast<unsigned char>(bytes[start + i]);
                for (int bit = 0; bit < 8; ++bit) r = (r & 1) != 0 ? (r >> 1) ^ 0xedb88320u : r >> 1;
            }
            ASSERT_EQ(Zv::crc32(bytes.data() + start, static_cast<int>(length)), ~r) << start << " " << length;
        }
}
