#include "zvc/imaging/ZvImage.h"

#include "../support/Filters.h"
#include "../support/Guarded.h"
#include "../support/PlainResize.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

ZvImage$ Wrap(const Guarded& block, int width, int height, int channels, int depth, int pitch) {
    return new ZvImage(width, height, static_cast<char>(channels), static_cast<short>(depth), 6, block.Data(), pitch, false);
}

/// A filter that nobody must ask.
struct Untouched : ZvFilter {
    Untouched() : ZvFilter(1) {}
    float support() const override {
        ADD_FAILURE();
        return 1;
    }
    float func(float) const override {
        ADD_FAILURE();
        return 1;
    }
};

bool IsAll(const ZvImage& image, unsigned char value) {
    for (int i = 0; i < std::abs(image.GetHeight()) * image.GetLinePitch(); ++i)
        if (image.GetBaseAddress()[i] != value) return false;
    return true;
}

template <class T>
void FillSamples(plain::Samples<T>& samples, std::mt19937& random) {
    for (T& sample : samples.data) sample = static_cast<T>(random());
}

template <class T>
void CompareWithPlain(int width, int height, int channels, int newWidth, int newHeight, const char* name) {
    std::mt19937 random(static_cast<unsigned>(width * 31 + newWidth));
    plain::Samples<T> from(width, std::abs(height), channels);
    FillSamples(from, random);
    const auto rowBytes = static_cast<size_t>(width * channels) * sizeof(T);
    const int pitch = static_cast<int>(rowBytes) + 3;
    const Guarded block(static_cast<size_t>(std::abs(height) * pitch), Guarded::AtTheEnd);
    for (int y = 0; y < from.height; ++y) std::memcpy(block.Data() + y * pitch, from.At(0, y), rowBytes);
    const ZvImage$ image = Wrap(block, width, height, channels, 8 * int(sizeof(T)), pitch);
    const auto expected = plain::Resize(from, newWidth, newHeight, plain::FilterNamed(name));
    ZvImage$ resized;
    WithFilter(name, nullptr, [&](const ZvFilter& filter) { resized = image->Resize(newWidth, newHeight, filter); });
    ASSERT_EQ(resized->GetWidth(), newWidth);
    ASSERT_EQ(std::abs(resized->GetHeight()), newHeight);
    for (int y = 0; y < newHeight; ++y)
        ASSERT_EQ(std::memcmp(resized->GetRow(y), expected.At(0, y), static_cast<size_t>(newWidth * channels) * sizeof(T)), 0) << name << " row " << y;
}

}

TEST(ZvImageResize, SameSizeCopiesWithoutTouchingTheFilter) {
    const Guarded block(4 * 16, Guarded::AtTheEnd);
    for (int i = 0; i < 64; ++i) block.Data()[i] = static_cast<unsigned char>(i * 3);
    const ZvImage$ image = Wrap(block, 5, 4, 3, 8, 0);
    const ZvImage$ copy = image->Resize(5, 4, Untouched());
    EXPECT_NE(copy->GetBaseAddress(), image->GetBaseAddress());
    EXPECT_TRUE(copy->Equals(image.Get()));                 // with what pads the rows
    EXPECT_EQ(copy->GetSampleType(), 6);
}

TEST(ZvImageResize, SameSizeCopiesEveryDepth) {
    for (const int depth : {8, 16, int(int16_t(0x8020)), int(int16_t(0x8040)), 32, -8}) {
        const int pitch = ZvImage::CalculateLinePitch(3, 1, depth);
        const Guarded block(static_cast<size_t>(2 * pitch), Guarded::AtTheEnd);
        std::memset(block.Data(), 0x5A, static_cast<size_t>(2 * pitch));
        const ZvImage$ copy = Wrap(block, 3, 2, 1, depth, 0)->Resize(3, 2, Untouched());
        EXPECT_EQ(copy->GetDepth(), depth);
        EXPECT_TRUE(IsAll(*copy, 0x5A)) << depth;
    }
}

TEST(ZvImageResize, ResultHasTheSourcesLayout) {
    const Guarded block(6 * 100, Guarded::AtTheEnd);
    const ZvImage$ image = Wrap(block, 10, 6, 4, 16, 100);
    const ZvImage$ resized = image->Resize(7, 3, ZvBoxFilter());
    EXPECT_EQ(resized->GetWidth(), 7);
    EXPECT_EQ(resized->GetHeight(), 3);
    EXPECT_EQ(resized->GetChannels(), 4);
    EXPECT_EQ(resized->GetDepth(), 16);
    EXPECT_EQ(resized->GetSampleType(), 6);
    EXPECT_EQ(resized->GetPixelPitch(), 8);
    EXPECT_EQ(resized->GetLinePitch(), 56);
    EXPECT_EQ(resized->Realize(65535.0f), 1.0f);
    EXPECT_EQ(resized->GetType(), &ZvImage::s_type);
}

TEST(ZvImageResize, TopDownStaysTopDown) {
    const Guarded block(4 * 4, Guarded::AtTheEnd);
    EXPECT_EQ(Wrap(block, 4, -4, 1, 8, 0)->Resize(2, 2, ZvBoxFilter())->GetHeight(), -2);
    EXPECT_EQ(Wrap(block, 4, -4, 1, 8, 0)->Resize(4, 4, ZvBoxFilter())->GetHeight(), -4);
    EXPECT_EQ(Wrap(block, 4, 4, 1, 8, 0)->Resize(2, 2, ZvBoxFilter())->GetHeight(), 2);
    CompareWithPlain<uint8_t>(9, -7, 3, 5, 12, "ZvTriangleFilter");
}

TEST(ZvImageResize, FloatImagesComeBackWithUntouchedBlocks) {
    for (const int depth : {int(int16_t(0x8020)), int(int16_t(0x8040)), 32, 4, -16}) {
        const int pitch = ZvImage::CalculateLinePitch(6, 1, depth);
        const Guarded block(static_cast<size_t>(4 * pitch), Guarded::AtTheEnd);
        std::memset(block.Data(), 0x5A, static_cast<size_t>(4 * pitch));
        for (const auto& [width, height] : {std::pair{3, 2}, {6, 8}, {12, 4}}) {
            const ZvImage$ resized = Wrap(block, 6, 4, 1, depth, 0)->Resize(width, height, ZvTriangleFilter());
            EXPECT_EQ(resized->GetWidth(), width);
            EXPECT_EQ(resized->GetHeight(), height);
            EXPECT_EQ(resized->GetDepth(), depth);
            EXPECT_TRUE(IsAll(*resized, 0)) << depth;       // as a fresh block is here
        }
    }
}

TEST(ZvImageResize, UniformBytesComeBackCutOff) {
    const Guarded block(8 * 7, Guarded::AtTheEnd);
    std::memset(block.Data(), 200, 56);
    for (const auto& [width, height] : {std::pair{4, 4}, {14, 14}, {3, 11}}) {
        const ZvImage$ resized = Wrap(block, 7, 7, 1, 8, 0)->Resize(width, height, ZvTriangleFilter());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) EXPECT_TRUE(*resized->GetPixel(x, y) == 200 || *resized->GetPixel(x, y) == 199);
    }
}

TEST(ZvImageResize, OvershootWrapsRound) {
    // An edge under a kernel of 1 + 2/256 and -2/256 about it: 255 goes beyond a byte, 0 below it.
    struct Sharpen : ZvFilter {
        Sharpen() : ZvFilter(1) {}
        float func(float x) const override { return x == 0 ? 1.0f + 2.0f / 256.0f : -1.0f / 256.0f; }
    };
    const Guarded block(4, Guarded::AtTheEnd);
    const unsigned char edge[4] = {255, 255, 0, 0};
    std::memcpy(block.Data(), edge, 4);
    // Only the height changes, from one row to one row of another table: eight columns to keep, so resize a column.
    const ZvImage$ column = Wrap(block, 1, 4, 1, 8, 1);
    const ZvImage$ sharpened = column->Resize(1, 8, Sharpen());
    // Position 2 stands on row 1: 255 * (258 - 1) / 256 - 0 = 255.996 -> 255; position 4 on row 2: -255 / 256 -> -0.996 -> 0.
    EXPECT_EQ(*sharpened->GetPixel(0, 2), 255);
    EXPECT_EQ(*sharpened->GetPixel(0, 4), 0);
    struct Strong : ZvFilter {
        Strong() : ZvFilter(1) {}
        float func(float x) const override { return x == 0 ? 1.5f : -0.25f; }
    };
    const ZvImage$ strong = column->Resize(1, 8, Strong());
    EXPECT_EQ(*strong->GetPixel(0, 2), (318 & 255));        // 255 * 1.25 = 318.75
    EXPECT_EQ(*strong->GetPixel(0, 4), 256 - 63);           // 255 * -0.25 = -63.75
}

TEST(ZvImageResize, BothAxesAreThePlainOnes) {
    for (const char* name : {"ZvLanczos3Filter", "ZvTriangleFilter", "ZvBoxFilter"}) {
        CompareWithPlain<uint8_t>(33, 21, 3, 16, 10, name);
        CompareWithPlain<uint8_t>(32, 20, 3, 16, 10, name);
        CompareWithPlain<uint8_t>(32, 20, 3, 64, 40, name);
        CompareWithPlain<uint8_t>(32, 20, 4, 32, 40, name);
        CompareWithPlain<uint8_t>(32, 20, 1, 16, 20, name);
        CompareWithPlain<uint16_t>(32, 20, 2, 64, 10, name);
        CompareWithPlain<uint16_t>(200, -20, 3, 100, 40, name);
        CompareWithPlain<uint16_t>(19, 20, 8, 100, 7, name);
    }
}

TEST(ZvImageResize, PaddingOfResampledRowsIsZero) {
    const Guarded block(4 * 16, Guarded::AtTheEnd);
    std::memset(block.Data(), 0x5A, 64);
    for (const auto& [width, height] : {std::pair{3, 2}, {10, 8}, {5, 2}, {7, 4}}) {
        const ZvImage$ resized = Wrap(block, 5, 4, 3, 8, 0)->Resize(width, height, ZvTriangleFilter());
        for (int y = 0; y < height; ++y)
            for (int i = width * 3; i < resized->GetLinePitch(); ++i) EXPECT_EQ(resized->GetRow(y)[i], 0) << width << "x" << height;
    }
}

TEST(ZvImageResize, PositionsWithoutEntriesAreZero) {
    const Guarded block(2 * 4, Guarded::AtTheEnd);
    std::memset(block.Data(), 100, 8);
    const ZvImage$ resized = Wrap(block, 2, 2, 1, 8, 0)->Resize(4, 4, ZvTriangleFilter(0.25f));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(*resized->GetPixel(x, y), x % 2 == 0 && y % 2 == 0 ? 100 : 0);
}

TEST(ZvImageResize, MoreThanEightChannelsAreLeftAlone) {
    const Guarded block(4 * 36, Guarded::AtTheEnd);
    std::memset(block.Data(), 0x5A, 144);
    const ZvImage$ image = Wrap(block, 4, 4, 9, 8, 0);
    EXPECT_TRUE(IsAll(*image->Resize(2, 2, ZvBoxFilter()), 0));
    EXPECT_TRUE(IsAll(*image->Resize(4, 4, Untouched()), 0x5A));
}

TEST(ZvImageResize, SizesOfNothing) {
    const Guarded block(4 * 4, Guarded::AtTheEnd);
    const ZvImage$ image = Wrap(block, 4, 4, 1, 8, 0);
    EXPECT_EQ(image->Resize(0, 4, ZvBoxFilter())->GetWidth(), 0);
    EXPECT_EQ(image->Resize(4, 0, ZvBoxFilter())->GetHeight(), 0);
    EXPECT_EQ(ZvImage$(new ZvImage)->Resize(3, 2, ZvBoxFilter())->GetWidth(), 3);
    // Without pixels there is nothing to resample.
    const ZvImage$ none = new ZvImage(4, 4, 1, 8, 0, nullptr, 0, false);
    EXPECT_TRUE(IsAll(*none->Resize(8, 8, ZvBoxFilter()), 0));
    EXPECT_THROW(image->Resize(1 << 30, 1 << 30, ZvBoxFilter()), ZvBadAllocException);
}
