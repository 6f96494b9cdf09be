// Files that are made byte by byte, and the pixels that stand in them.

#include "../support/Picture.h"
#include "../support/PictureFiles.h"

#include <gtest/gtest.h>

namespace {

/// The picture from its top; without samples when it does not load.
Picture Read(const FileData& file) {
    ZvImage image;
    if (!LoadBytes(file, image)) return {};
    return FromImage(image);
}

Picture Of(int width, int height, int channels, int depth, const std::vector<uint16_t>& samples) { return {width, height, channels, depth, samples}; }

// A palette of three colours, as a bitmap has it: blue, green, red, nothing.
const FileData s_palette = {30, 20, 10, 0, 60, 50, 40, 0, 90, 80, 70, 0};

Picture OfIndices(int width, int height, const std::vector<int>& indices) {
    Picture p{width, height, 3, 8, {}};
    for (const int i : indices)
        for (const int c : {10, 20, 30}) p.samples.push_back(static_cast<uint16_t>(c + 30 * i));
    return p;
}

FileData Runs(int width, int height, int bits, const FileData& runs) {
    FileData rest = s_palette;
    Append(rest, runs);
    return BmpFile(width, height, bits, bits == 8 ? 1 : 2, s_palette.size(), rest, 3);
}

}

// ---- PNG ----

TEST(CodecFiles, PngOfRgb) {
    EXPECT_TRUE(Read(PngFile(2, 2, 8, 2, {0, 1, 2, 3, 4, 5, 6, 0, 7, 8, 9, 10, 11, 12})) ==
                Of(2, 2, 3, 8, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(CodecFiles, PngFiltersAreUndone) {
    // Left: 10, 10+5. Above: 11, 17. Average of left and above: 1 + 11/2 = 6, 2 + (6+17)/2 = 13. Nearest: 3 + 6 = 9, and
    // from 9 left, 13 above, 6 above left: 16, of which 13 is nearest: 4 + 13 = 17.
    EXPECT_TRUE(Read(PngFile(2, 4, 8, 0, {1, 10, 5, 2, 1, 2, 3, 1, 2, 4, 3, 4})) == Of(2, 4, 1, 8, {10, 15, 11, 17, 6, 13, 9, 17}));
}

TEST(CodecFiles, PngOf16BitsIsInTheMachinesOrder) {
    EXPECT_TRUE(Read(PngFile(2, 1, 16, 4, {0, 0x12, 0x34, 0xFF, 0xFE, 0, 1, 0x80, 0})) == Of(2, 1, 2, 16, {0x1234, 0xFFFE, 1, 0x8000}));
}

TEST(CodecFiles, PngOfFewBitsIsSpreadOut) {
    EXPECT_TRUE(Read(PngFile(3, 1, 1, 0, {0, 0xA0})) == Of(3, 1, 1, 8, {255, 0, 255}));
    EXPECT_TRUE(Read(PngFile(4, 1, 2, 0, {0, 0x1B})) == Of(4, 1, 1, 8, {0, 85, 170, 255}));
    EXPECT_TRUE(Read(PngFile(2, 1, 4, 0, {0, 0x2F})) == Of(2, 1, 1, 8, {34, 255}));
}

TEST(CodecFiles, PngPaletteBecomesColours) {
    const FileData palette = PngChunk("PLTE", {10, 20, 30, 40, 50, 60, 70, 80, 90});
    EXPECT_TRUE(Read(PngFile(4, 1, 2, 3, {0, 0x24}, {palette})) == OfIndices(4, 1, {0, 2, 1, 0}));
    const FileData alpha = PngChunk("tRNS", {0, 128});
    EXPECT_TRUE(Read(PngFile(3, 1, 8, 3, {0, 0, 1, 2}, {palette, alpha})) == Of(3, 1, 4, 8, {10, 20, 30, 0, 40, 50, 60, 128, 70, 80, 90, 255}));
}

TEST(CodecFiles, PngTransparentColourBecomesAlpha) {
    EXPECT_TRUE(Read(PngFile(2, 1, 8, 0, {0, 7, 8}, {PngChunk("tRNS", {0, 8})})) == Of(2, 1, 2, 8, {7, 255, 8, 0}));
    EXPECT_TRUE(Read(PngFile(2, 1, 8, 2, {0, 1, 2, 3, 4, 5, 6}, {PngChunk("tRNS", {0, 1, 0, 2, 0, 3})})) ==
                Of(2, 1, 4, 8, {1, 2, 3, 0, 4, 5, 6, 255}));
}

// Texts and profiles may unfold to anything; no picture needs them.
TEST(CodecFiles, PngTextsAreNotUnfolded) {
    FileData text;
    AppendText(text, std::string("Comment\0\0", 9));
    Append(text, {1, 2, 3, 4});                                              // no stream of zlib's
    const Picture expected = Of(1, 1, 1, 8, {9});
    EXPECT_TRUE(Read(PngFile(1, 1, 8, 0, {0, 9}, {PngChunk("zTXt", text)})) == expected);
    EXPECT_TRUE(Read(PngFile(1, 1, 8, 0, {0, 9}, {PngChunk("iCCP", text)})) == expected);
    EXPECT_TRUE(Read(PngFile(1, 1, 8, 0, {0, 9}, {PngChunk("teSt", {1})})) == expected);
    EXPECT_TRUE(Read(PngFile(1, 1, 8, 0, {0, 9}, {PngChunk("TeSt", {1})})).samples.empty());      // one that counts, and nobody knows
}

// ---- BMP ----

TEST(CodecFiles, BmpRowsArePaddedAndInEitherOrder) {
    const FileData rows = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};
    EXPECT_TRUE(Read(BmpFile(2, 2, 24, 0, 0, rows)) == Of(2, 2, 3, 8, {9, 8, 7, 12, 11, 10, 3, 2, 1, 6, 5, 4}));
    EXPECT_TRUE(Read(BmpFile(2, -2, 24, 0, 0, rows)) == Of(2, 2, 3, 8, {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}));
}

TEST(CodecFiles, BmpRunsMayJumpAndMayStandAsTheyAre) {
    EXPECT_TRUE(Read(Runs(4, 3, 8, {3, 1, 0, 0, 0, 3, 2, 1, 2, 0, 0, 2, 0, 1, 1, 2, 0, 1})) ==
                OfIndices(4, 3, {0, 0, 0, 2, 2, 1, 2, 0, 1, 1, 1, 0}));
    EXPECT_TRUE(Read(Runs(5, 2, 4, {5, 0x12, 0, 0, 0, 4, 0x21, 0x02, 0, 1})) == OfIndices(5, 2, {2, 1, 0, 2, 0, 1, 2, 1, 2, 1}));
}

TEST(CodecFiles, BmpRunsBehindTheEndOfARowAreDropped) {
    EXPECT_TRUE(Read(Runs(3, 2, 8, {4, 1, 0, 0, 3, 2, 0, 1})) == OfIndices(3, 2, {2, 2, 2, 1, 1, 1}));
    EXPECT_TRUE(Read(Runs(3, 1, 8, {0, 4, 0, 1, 2, 2, 0, 1})) == OfIndices(3, 1, {0, 1, 2}));
}

TEST(CodecFiles, BmpRunsBehindTheLastRowAreDamage) {
    EXPECT_TRUE(Read(Runs(1, 1, 8, {1, 1, 0, 0, 1, 1, 0, 1})).samples.empty());
    EXPECT_TRUE(Read(Runs(1, 1, 8, {1, 1, 0, 0})).samples.empty());                               // and so is no end
}

TEST(CodecFiles, BmpMasksMayHaveAnyWidth) {
    FileData rest = Little(0x3FF00000, 4);
    for (const uint32_t mask : {0xFFC00u, 0x3FFu, 0xC0000000u}) Append(rest, Little(mask, 4));
    for (const uint32_t pixel : {0xFFFFFFFFu, 0x40000000u | 512u << 20 | 1023u}) Append(rest, Little(pixel, 4));
    EXPECT_TRUE(Read(BmpFile(2, 1, 32, 6, 16, rest)) == Of(2, 1, 4, 8, {255, 255, 255, 255, 128, 0, 255, 85}));
    EXPECT_TRUE(Read(BmpFile(2, 1, 16, 0, 0, {0xFF, 0x7F, 0x10, 0x02})) == Of(2, 1, 3, 8, {255, 255, 255, 0, 132, 132}));
    EXPECT_TRUE(Read(BmpFile(1, 1, 32, 0, 0, {1, 2, 3, 4})) == Of(1, 1, 3, 8, {3, 2, 1}));          // no alpha without a mask
    FileData torn = Little(0xFF00FF, 4);
    torn.resize(16, 0);
    EXPECT_TRUE(Read(BmpFile(1, 1, 32, 3, 12, torn)).samples.empty());
}

TEST(CodecFiles, BmpMasksOf16BitsAreAskedFor) {
    const auto masked = [](std::initializer_list<uint32_t> masks, const FileData& pixels) {
        FileData rest;
        for (const uint32_t mask : masks) Append(rest, Little(mask, 4));
        const size_t before = rest.size();
        Append(rest, pixels);
        return BmpFile(2, 1, 16, 3, before, rest);
    };
    const FileData pixels = {0xE0, 0x07, 0x1F, 0xF8};
    EXPECT_TRUE(Read(masked({0xF800, 0x07E0, 0x001F}, pixels)) == Of(2, 1, 3, 8, {0, 255, 0, 255, 0, 255}));
    EXPECT_TRUE(Read(masked({0xF800, 0x07E0, 0}, pixels)) == Of(2, 1, 3, 8, {0, 255, 0, 255, 0, 0}));   // one channel may have no bits
    EXPECT_TRUE(Read(masked({0, 0, 0}, pixels)).samples.empty());
    // Without masks, pixels that could be taken for some are not.
    EXPECT_TRUE(Read(masked({}, pixels)).samples.empty());
    EXPECT_TRUE(Read(masked({}, FileData(64, 0))).samples.empty());
    FileData couldBeMasks;
    for (const uint32_t mask : {0xF800u, 0x07E0u, 0x001Fu}) Append(couldBeMasks, Little(mask, 4));
    EXPECT_TRUE(Read(masked({}, couldBeMasks)).samples.empty());
}

TEST(CodecFiles, BmpPixelsLieBehindTheHeader) {
    FileData file = BmpFile(1, 1, 24, 0, 0, {1, 2, 3, 0});
    EXPECT_TRUE(Read(file) == Of(1, 1, 3, 8, {3, 2, 1}));
    for (const int offset : {0, 14, 53}) {
        file[10] = static_cast<uint8_t>(offset);
        EXPECT_TRUE(Read(file).samples.empty()) << offset;
    }
}

TEST(CodecFiles, BmpIndicesOfAllSizes) {
    const auto file = [](int width, int bits, const FileData& row) {
        FileData rest = s_palette;
        Append(rest, row);
        return BmpFile(width, 1, bits, 0, s_palette.size(), rest, 3);
    };
    EXPECT_TRUE(Read(file(5, 2, {0x18, 0x80, 0, 0})) == OfIndices(5, 1, {0, 1, 2, 0, 2}));
    EXPECT_TRUE(Read(file(3, 4, {0x12, 0x20, 0, 0})) == OfIndices(3, 1, {1, 2, 2}));
    EXPECT_TRUE(Read(file(3, 8, {2, 0, 1, 0})) == OfIndices(3, 1, {2, 0, 1}));
    EXPECT_TRUE(Read(file(2, 8, {200, 1, 0, 0})) == Of(2, 1, 3, 8, {0, 0, 0, 40, 50, 60}));         // black where there is none
    EXPECT_TRUE(Read(BmpFile(10, 1, 1, 0, 8, {0, 0, 0, 0, 255, 255, 255, 0, 0xA5, 0x40, 0, 0})) ==
                Of(10, 1, 1, 8, {255, 0, 255, 0, 0, 255, 0, 255, 0, 255}));                         // grey stays grey
}

TEST(CodecFiles, BmpOfTheOldHeader) {
    FileData file = {'B', 'M', 34, 0, 0, 0, 0, 0, 0, 0, 26, 0, 0, 0, 12, 0, 0, 0, 2, 0, 1, 0, 1, 0, 24, 0, 1, 2, 3, 4, 5, 6, 0, 0};
    EXPECT_TRUE(Read(file) == Of(2, 1, 3, 8, {3, 2, 1, 6, 5, 4}));
}

TEST(CodecFiles, BmpOfUnknownKindsIsRefused) {
    const FileData pixels(64, 0);
    EXPECT_FALSE(Read(BmpFile(1, 1, 24, 0, 0, pixels)).samples.empty());
    for (const int bits : {0, 3, 12, 48, 64}) EXPECT_TRUE(Read(BmpFile(1, 1, bits, 0, 0, pixels)).samples.empty()) << bits;
    for (const int compression : {1, 2, 3, 4, 5, 7, 11}) EXPECT_TRUE(Read(BmpFile(1, 1, 24, compression, 0, pixels)).samples.empty()) << compression;
    EXPECT_TRUE(Read(BmpFile(1, -1, 8, 1, 12, pixels, 3)).samples.empty());                         // runs go from the bottom
}

// ---- TIFF ----

TEST(CodecFiles, TiffOfEitherOrderOfBytes) {
    EXPECT_TRUE(Read(TiffGrey(false, 2, 2, 8, {1, 2, 3, 4})) == Of(2, 2, 1, 8, {1, 2, 3, 4}));
    EXPECT_TRUE(Read(TiffGrey(true, 2, 2, 8, {1, 2, 3, 4})) == Of(2, 2, 1, 8, {1, 2, 3, 4}));
    EXPECT_TRUE(Read(TiffGrey(false, 2, 1, 16, {0x34, 0x12, 1, 0})) == Of(2, 1, 1, 16, {0x1234, 1}));
    EXPECT_TRUE(Read(TiffGrey(true, 2, 1, 16, {0x12, 0x34, 0, 1})) == Of(2, 1, 1, 16, {0x1234, 1}));
}

TEST(CodecFiles, TiffOfFewBitsIsSpreadOut) {
    EXPECT_TRUE(Read(TiffGrey(false, 3, 1, 1, {0xA0})) == Of(3, 1, 1, 8, {255, 0, 255}));
    EXPECT_TRUE(Read(TiffGrey(false, 4, 1, 2, {0x1B})) == Of(4, 1, 1, 8, {0, 85, 170, 255}));
    EXPECT_TRUE(Read(TiffGrey(false, 2, 1, 4, {0x2F})) == Of(2, 1, 1, 8, {34, 255}));
}

TEST(CodecFiles, TiffOrientationsOfUprightPictures) {
    const struct {
        uint32_t orientation;
        std::vector<uint16_t> samples;
    } cases[] = {{1, {1, 2, 3, 4}}, {2, {2, 1, 4, 3}}, {3, {4, 3, 2, 1}}, {4, {3, 4, 1, 2}}};
    for (const auto& c : cases) {
        const FileData file = TiffGrey(false, 2, 2, 8, {1, 2, 3, 4}, {{274, 3, 1, c.orientation}});
        EXPECT_TRUE(Read(file) == Of(2, 2, 1, 8, c.samples)) << c.orientation;
    }
}

// ---- JPEG ----

TEST(CodecFiles, JpegOfAveragesIsMiddleGrey) {
    EXPECT_TRUE(Read(JpegOfAverages(8, 8, 1)) == Of(8, 8, 1, 8, std::vector<uint16_t>(64, 128)));
    EXPECT_TRUE(Read(JpegOfAverages(20, 9, 1)) == Of(20, 9, 1, 8, std::vector<uint16_t>(180, 128)));
}

// ---- several files in one stream ----

TEST(CodecFiles, StreamStandsBehindThePicture) {
    const FileData files[] = {PngFile(1, 1, 8, 0, {0, 11}), BmpFile(1, 1, 24, 0, 0, {1, 2, 3, 0}), JpegOfAverages(8, 8, 1),
                              HdrFile("-Y 1 +X 1", {1, 2, 3, 128}), PngFile(1, 1, 8, 0, {0, 22})};
    FileData all = {'x', 'y', 'z'};
    for (const FileData& file : files) Append(all, file);
    ZvStream$ stream = MemoryOf(all);
    stream->Seekg(3, ZvStream::Begin);
    long long at = 3;
    for (const FileData& file : files) {
        ZvImage image;
        ASSERT_TRUE(image.Load(stream)) << at;
        at += static_cast<long long>(file.size());
        if (at < static_cast<long long>(all.size())) {
            EXPECT_EQ(stream->Tellg(), at);
        }
    }
    EXPECT_EQ(at, static_cast<long long>(all.size()));
}
