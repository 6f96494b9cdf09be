#include "zvc/imaging/ZvImage.h"

#include "../support/Cases.h"
#include "../support/Guarded.h"
#include "../support/Leaks.h"
#include "../support/PlainResize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace {

using cases::FromHex;
using cases::Group;
using cases::Json;
using cases::Scalar;

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

/// The factor of Realize in double, which shows in whole powers of two.
float Factor(const ZvImage& image, float value = 1) { return image.Realize(value); }

ZvImage$ NewImage(int width, int height, int channels, int depth, int pitch = 0) {
    return new ZvImage(width, height, static_cast<char>(channels), static_cast<short>(depth), 0, nullptr, pitch, true);
}

/// An image over bytes of the test's own, rows packed to multiples of four.
ZvImage$ Over(std::string& bytes, int width, int height, int channels, int depth, int sampleType = 0) {
    return new ZvImage(width, height, static_cast<char>(channels), static_cast<short>(depth), static_cast<char>(sampleType),
                       reinterpret_cast<unsigned char*>(bytes.data()), 0, false);
}

ZvImage$ OfCase(const Json& c, std::string& block) {
    block = FromHex(c["block"]);
    return Over(block, c["width"], c["height"], c["channels"], c["depth"], c.value("sampleType", 0));
}

std::string BlockOf(const ZvImage& image) {
    return {reinterpret_cast<const char*>(image.GetBaseAddress()), static_cast<size_t>(std::abs(image.GetHeight()) * image.GetLinePitch())};
}

class ImageOfTests : public ZvImage {
    ZV_DECLARE_CLASS(ImageOfTests)
    ZV_DECLARE_CREATE(ImageOfTests)
public:
    ImageOfTests() = default;
    using ZvImage::Create;
};

}

ZV_DEFINE_CLASS(ImageOfTests, (ZvImage), .create = &Create)

static_assert(!std::is_copy_constructible_v<ZvImage>, "the copy constructor is Clone's alone");
static_assert(std::is_copy_assignable_v<ZvImage>);
static_assert(ZvImage::BMP == 0 && ZvImage::JPG == 1 && ZvImage::PNG == 2 && ZvImage::TIF == 3);

TEST(ZvImage, NewOneIsEmpty) {
    const ZvImage$ image = new ZvImage;
    EXPECT_EQ(image->GetWidth(), 0);
    EXPECT_EQ(image->GetHeight(), 0);
    EXPECT_EQ(image->GetChannels(), 0);
    EXPECT_EQ(image->GetDepth(), 8);
    EXPECT_EQ(image->GetBitsPerSamples(), 8);
    EXPECT_EQ(image->GetSampleType(), 0);
    EXPECT_EQ(image->GetPixelPitch(), 0);
    EXPECT_EQ(image->GetLinePitch(), 0);
    EXPECT_EQ(image->GetBaseAddress(), nullptr);
    EXPECT_FALSE(image->IsBottomUp());
    EXPECT_EQ(Factor(*image), 0.0f);
    EXPECT_EQ(image->GetHashCode(), 0xFFFFFFFFu);
    EXPECT_FALSE(image->OnDeleted());
}

TEST(ZvImage, IsReflectedWithItsFactory) {
    EXPECT_STREQ(ZvImage::s_type.GetName()->CStr(), "ZvImage");
    const ZvObject$ made = ZvSystem::FindType("ZvImage")->CreateObject();
    ASSERT_TRUE(made);
    EXPECT_EQ(made->GetType(), &ZvImage::s_type);
    EXPECT_TRUE(made->IsKindOf(&ZvObject::s_type));
    const ZvObject$ direct = ZvImage::Create();
    EXPECT_EQ(direct->GetType(), &ZvImage::s_type);
}

TEST(ZvImage, UsedMemoryIsACounterThatNothingWrites) {
    const ZvImage$ image = NewImage(100, 100, 3, 8);
    EXPECT_EQ(ZvImage::GetUsedMemory(), 0u);
    EXPECT_EQ(ZvImage::s_used_memory, 0u);
    ZvImage::s_used_memory = 5;
    EXPECT_EQ(ZvImage::GetUsedMemory(), 5u);
    ZvImage::s_used_memory = 0;
}

TEST(ZvImage, PitchesAreTheComputedOnes) {
    for (const Json& c : Group("image", "pitch")) {
        const int width = c["width"], channels = c["channels"], depth = c["depth"];
        unsigned char none = 0;
        const ZvImage$ image = new ZvImage(width, 1, static_cast<char>(channels), static_cast<short>(depth), 0, &none, 0, false);
        EXPECT_EQ(image->GetLinePitch(), c["linePitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->CalcLinePitch(), c["linePitch"].get<int>()) << c["name"];
        EXPECT_EQ(ZvImage::CalculateLinePitch(width, channels, depth), c["linePitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->GetPixelPitch(), c["pixelPitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->CalcPixelPitch(), c["pixelPitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->GetBitsPerSamples(), c["bitsPerSamples"].get<int>()) << c["name"];
        EXPECT_EQ(Bits(Factor(*image)), Bits(static_cast<float>(Scalar<double>(c["realize"])))) << c["name"];
    }
}

TEST(ZvImage, RowsOfFivePixelsOfThreeBytes) {
    const ZvImage$ image = NewImage(5, 2, 3, 8);
    EXPECT_EQ(image->GetPixelPitch(), 3);
    EXPECT_EQ(image->GetLinePitch(), 16);
}

TEST(ZvImage, PitchesOfDepths) {
    const struct { int width, channels, depth, linePitch, pixelPitch; } rows[] = {
        {1, 1, 8, 4, 1},      {4, 1, 8, 4, 1},       {5, 1, 8, 8, 1},         {5, 4, 8, 20, 4},     {5, 3, 16, 32, 6},     {7, 1, 1, 0, 0},
        {33, 1, 1, 4, 0},     {5, 3, 0x7020, 53820, 12},  {0, 3, 8, 0, 3},
        {5, 3, int16_t(0x8020), 60, -12}, {5, 1, int16_t(0x8040), 40, -8}, {5, 4, int16_t(0x8020), 80, -16},
        {5, 3, -16, 61412, 6},
    };
    for (const auto& row : rows) {
        unsigned char none = 0;
        const ZvImage$ image = new ZvImage(row.width, 1, static_cast<char>(row.channels), static_cast<short>(row.depth), 0, &none, 0, false);
        EXPECT_EQ(image->GetLinePitch(), row.linePitch) << row.depth;
        EXPECT_EQ(image->GetPixelPitch(), row.pixelPitch) << row.depth;
    }
}

TEST(ZvImage, FactorsOfDepths) {
    const struct { int depth; double factor; } rows[] = {
        {8, 1.0 / 255},      {16, 1.0 / 65535},  {1, 1},          {2, 1.0 / 3},        {31, 1.0 / 2147483647}, {33, 1},
        {-16, 1.0 / 32768},  {-1, 1},            {-8, 1.0 / 128}, {0, -1.0 / 2147483648.0}, {-33, 1},
        {int16_t(0x8020), -1.0 / 2147483648.0}, {40, 1.0 / 255},
    };
    unsigned char none = 0;
    for (const auto& row : rows) {
        const ZvImage$ image = new ZvImage(1, 1, 1, static_cast<short>(row.depth), 0, &none, 1 << 15, false);
        EXPECT_EQ(Bits(Factor(*image)), Bits(static_cast<float>(row.factor))) << row.depth;
        EXPECT_EQ(Bits(Factor(*image, 1000.7f)), Bits(static_cast<float>(double(1000.7f) * row.factor))) << row.depth;
    }
    // 2^32 - 1 in 32 bits leaves nothing to divide by.
    const ZvImage$ image = new ZvImage(1, 1, 1, 32, 0, &none, 4, false);
    EXPECT_EQ(Factor(*image), std::numeric_limits<float>::infinity());
}

TEST(ZvImage, RealizeTakesEveryComponentInDouble) {
    for (const Json& c : Group("image", "realize-values")) {
        unsigned char none = 0;
        const ZvImage$ image = new ZvImage(1, 1, 1, c["depth"].get<short>(), 0, &none, 8, false);
        EXPECT_EQ(Bits(image->Realize(Scalar<float>(c["v"]))), Bits(Scalar<float>(c["out"]))) << c["name"];
    }
    const ZvImage$ image = NewImage(1, 1, 1, 8);
    const CG::vec3<float> three = image->Realize(CG::vec3<float>{255, 51, -255});
    EXPECT_EQ(three.x, 1.0f);
    EXPECT_EQ(three.y, 0.2f);
    EXPECT_EQ(three.z, -1.0f);
    const CG::vec4<float> four = image->Realize(CG::vec4<float>{0, 255, 510, 102});
    EXPECT_EQ(four.x, 0.0f);
    EXPECT_EQ(four.y, 1.0f);
    EXPECT_EQ(four.z, 2.0f);
    EXPECT_EQ(four.w, 0.4f);
}

TEST(ZvImage, CreateIsTheComputedOne) {
    for (const Json& c : Group("image", "create")) {
        const int height = c["height"], pitch = c["pitch"];
        std::vector<unsigned char> data(static_cast<size_t>(std::abs(height)) * static_cast<size_t>(std::max(pitch, 1)) + 1, 7);
        unsigned char* given = c["dataGiven"].get<bool>() ? data.data() : nullptr;
        ZvHandle<ImageOfTests, ZvImage$> image = new ImageOfTests;
        const bool owns = c["owns"];
        EXPECT_EQ(image->Create(c["width"], height, Scalar<char>(c["channels"]), c["depth"].get<short>(), 5, given, pitch, owns), c["result"].get<bool>());
        EXPECT_EQ(image->GetLinePitch(), c["linePitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->GetPixelPitch(), c["pixelPitch"].get<int>()) << c["name"];
        EXPECT_EQ(image->IsBottomUp(), c["isBottomUp"].get<bool>()) << c["name"];
        EXPECT_EQ(image->GetSampleType(), 5);
        EXPECT_EQ(image->GetBaseAddress() == given, !owns) << c["name"];
        const size_t block = c["blockBytes"], copied = c["copiedBytesPerRow"];
        for (size_t i = 0; i < block && copied != 0; ++i) EXPECT_EQ(image->GetBaseAddress()[i], 7);
    }
}

TEST(ZvImage, OwnedBlockTakesRowsOfTheGivenPitch) {
    std::string bytes = "abcdefghijklmnopqrstuvwxyz";
    auto* data = reinterpret_cast<unsigned char*>(bytes.data());
    const ZvImage$ image = new ZvImage(2, -3, 2, 8, 1, data, 7, true);
    EXPECT_EQ(image->GetLinePitch(), 7);
    EXPECT_EQ(image->GetHeight(), -3);
    EXPECT_NE(image->GetBaseAddress(), data);
    EXPECT_EQ(BlockOf(*image), bytes.substr(0, 21));
    // With a pitch of 0 nothing is copied.
    const ZvImage$ other = new ZvImage(4, 2, 1, 8, 0, data, 0, true);
    EXPECT_EQ(other->GetLinePitch(), 4);
    EXPECT_NE(BlockOf(*other), bytes.substr(0, 8));
}

TEST(ZvImage, WrappedBufferIsUsedInPlace) {
    std::string bytes(64, 'x');
    auto* data = reinterpret_cast<unsigned char*>(bytes.data());
    {
        const ZvImage$ image = new ZvImage(5, 4, 3, 8, 0, data, 0, false);
        EXPECT_EQ(image->GetBaseAddress(), data);
        EXPECT_EQ(image->GetLinePitch(), 16);
    }
    EXPECT_EQ(bytes, std::string(64, 'x'));
}

TEST(ZvImage, PitchThatIsTooShortLeavesTheFieldsStored) {
    unsigned char data[64] = {};
    ZvHandle<ImageOfTests, ZvImage$> image = new ImageOfTests;
    EXPECT_FALSE(image->Create(5, 4, 3, 8, 9, data, 14, true));
    EXPECT_EQ(image->GetWidth(), 5);
    EXPECT_EQ(image->GetHeight(), 4);
    EXPECT_EQ(image->GetChannels(), 3);
    EXPECT_EQ(image->GetDepth(), 8);
    EXPECT_EQ(image->GetSampleType(), 9);
    EXPECT_EQ(image->GetPixelPitch(), 3);
    EXPECT_EQ(image->GetLinePitch(), 16);
    EXPECT_EQ(image->GetBaseAddress(), data);
    EXPECT_EQ(Factor(*image), 0.0f);                        // not computed any more
    EXPECT_TRUE(image->Create(5, 4, 3, 8, 9, data, 15, false));
    EXPECT_EQ(image->GetLinePitch(), 15);
    EXPECT_FALSE(image->Create(5, 4, 3, 8, 9, data, -1, false));
    // The constructor drops the answer, and takes the factor all the same.
    const ZvImage$ constructed = new ZvImage(5, 4, 3, 8, 0, data, 14, false);
    EXPECT_EQ(Factor(*constructed, 255), 1.0f);
}

TEST(ZvImage, MemoryThatIsNotThereIsTheStandardFailure) {
    EXPECT_THROW(NewImage(1 << 20, 1 << 30, 1, 8, 1 << 30), ZvBadAllocException);
    EXPECT_THROW(NewImage(std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), 4, 16), ZvBadAllocException);
}

TEST(ZvImage, OldBlockIsNeitherFreedNorConsulted) {
    const LeaksAllowed leaks;
    ZvHandle<ImageOfTests, ZvImage$> image = new ImageOfTests;
    ASSERT_TRUE(image->Create(4, 4, 1, 8, 0, nullptr, 0, true));
    unsigned char* old = image->GetBaseAddress();
    std::memset(old, 3, 16);
    // Rows of the old block become those of the new one.
    ASSERT_TRUE(image->Create(4, 2, 1, 8, 0, old + 4, 4, true));
    EXPECT_NE(image->GetBaseAddress(), old);
    EXPECT_EQ(BlockOf(*image), std::string(8, 3));
    EXPECT_EQ(old[0], 3);
}

TEST(ZvImage, LinesRowsAndPixelsAreAddresses) {
    std::string bytes(64, 0);
    const ZvImage$ image = Over(bytes, 5, 4, 3, 8);
    auto* data = image->GetBaseAddress();
    const ZvImage& constant = *image;
    for (const int y : {0, 1, 3}) {
        EXPECT_EQ(image->GetLine(y), data + 16 * y);
        EXPECT_EQ(image->GetRow(y), data + 16 * y);
        EXPECT_EQ(constant.GetLine(y), data + 16 * y);
        EXPECT_EQ(constant.GetRow(y), data + 16 * y);
        EXPECT_EQ(image->GetPixel(2, y), data + 16 * y + 6);
        EXPECT_EQ(constant.GetPixel(2, y), data + 16 * y + 6);
    }
    EXPECT_EQ(constant.GetBaseAddress(), data);
}

TEST(ZvImage, PixelsOfLargeImagesLieBehindTwoGigabytes) {
    unsigned char none = 0;
    const ZvImage$ image = new ZvImage(1 << 16, 1 << 16, 1, 8, 0, &none, 1 << 20, false);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image->GetLine(1 << 14)) - reinterpret_cast<uintptr_t>(&none), size_t(1) << 34);
}

TEST(ZvImage, SignOfTheHeightIsTheOrderOfRows) {
    EXPECT_TRUE(NewImage(1, 2, 1, 8)->IsBottomUp());
    EXPECT_FALSE(NewImage(1, -2, 1, 8)->IsBottomUp());
    EXPECT_FALSE(NewImage(1, 0, 1, 8)->IsBottomUp());
    EXPECT_EQ(NewImage(1, -2, 1, 8)->GetHeight(), -2);
}

TEST(ZvImage, PixelValuesAreTheComputedOnes) {
    for (const Json& c : Group("image", "pixel-value")) {
        std::string row = FromHex(c["row"]);
        row.resize(row.size() + 4);
        const ZvImage$ image = Over(row, c["width"], 1, c["channels"], c["depth"]);
        const int count = c["count"];
        std::vector<float> out(static_cast<size_t>(count) + 1, -7.0f);
        image->GetPixelValue(c["x"], 0, count, out.data(), c["firstChannel"]);
        for (size_t i = 0; i < static_cast<size_t>(count); ++i)
            EXPECT_EQ(Bits(out[i]), c["out"].is_null() ? Bits(-7.0f) : Bits(Scalar<float>(c["out"][i]))) << c["name"];
        EXPECT_EQ(out.back(), -7.0f);
    }
}

TEST(ZvImage, PixelValuePastTheLastChannelRepeatsIt) {
    std::string bytes("\x10\x20\xFF\0", 4);
    const ZvImage$ image = Over(bytes, 1, 1, 3, 8);
    float out[4] = {-1, -1, -1, -1};
    image->GetPixelValue(0, 0, 3, out, 2);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], 1.0f);
    EXPECT_EQ(out[3], -1.0f);
    image->GetPixelValue(0, 0, 3, out, std::numeric_limits<int>::max() - 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], 1.0f);
    image->GetPixelValue(0, 0, 2, out, -1);
    EXPECT_EQ(out[0], static_cast<float>(16 * (1.0 / 255)));
    EXPECT_EQ(out[1], out[0]);
    image->GetPixelValue(0, 0, 0, out, 0);
}

TEST(ZvImage, PixelValueOfAnotherDepthWritesNothing) {
    for (const int depth : {int(int16_t(0x8020)), int(int16_t(0x8040)), -16, -8, 32, 4, 0}) {
        std::string bytes(1 << 17, 1);
        const ZvImage$ image = Over(bytes, 1, 1, 1, depth);
        float out = -7;
        image->GetPixelValue(0, 0, 1, &out, 0);
        EXPECT_EQ(out, -7) << depth;
    }
}

TEST(ZvImage, HashesAreTheComputedOnes) {
    for (const Json& c : Group("image", "hash")) {
        std::string block;
        const ZvImage$ image = OfCase(c, block);
        EXPECT_EQ(image->GetHashCode(), cases::Hex64(c["hash"])) << c["name"];
        if (!c.contains("edited")) continue;
        block = FromHex(c["edited"]);
        EXPECT_EQ(image->GetHashCode(), cases::Hex64(c["hashAfterEdit"])) << c["name"];
    }
}

TEST(ZvImage, HashIsKeptWhenAPixelChanges) {
    std::string bytes(16, 'a');
    const ZvImage$ image = Over(bytes, 4, 4, 1, 8);
    const size_t hash = image->GetHashCode();
    EXPECT_EQ(hash, Zv::crc32(bytes.data(), 16) ^ (8u ^ 1u ^ 4u ^ 4u ^ 0x811C9DC5u));
    bytes[5] = 'b';
    EXPECT_EQ(image->GetHashCode(), hash);
    const ZvImage$ other = Over(bytes, 4, 4, 1, 8);
    EXPECT_NE(other->GetHashCode(), hash);
}

TEST(ZvImage, HashOfATopDownImageCoversItsRows) {
    std::string bytes(16, 'a');
    const ZvImage$ image = Over(bytes, 4, -4, 1, 8);
    EXPECT_EQ(image->GetHashCode(), Zv::crc32(bytes.data(), 16) ^ static_cast<uint32_t>(8 ^ 1 ^ 4 ^ -4) ^ 0x811C9DC5u);
}

TEST(ZvImage, HashWithoutPixelsStaysUnset) {
    const ZvImage$ image = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, false);
    EXPECT_EQ(image->GetHashCode(), 0xFFFFFFFFu);
    unsigned char none = 0;
    const ZvImage$ withoutPitch = new ZvImage(0, 4, 1, 8, 0, &none, 0, false);
    EXPECT_EQ(withoutPitch->GetHashCode(), 0xFFFFFFFFu);
}
