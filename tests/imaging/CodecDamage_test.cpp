// Damaged and hostile files: the answer is false, and no block is made for what cannot be there.

#include "../support/Folder.h"
#include "../support/Picture.h"
#include "../support/PictureFiles.h"

#include <gtest/gtest.h>

namespace {

struct Sample {
    std::string name;
    FileData file;
    bool checked;          // whether the format itself knows any damage
    size_t spare = 0;      // bytes at the end that the picture does not need: where a next one would lie
};

FileData Saved(const char* extension, int channels, int depth, const char* option = nullptr, const char* value = nullptr) {
    Folder folder;
    const std::string path = folder / ("a." + std::string(extension));
    EXPECT_TRUE(ToImage(MakePicture(9, 6, channels, depth))->Save(path.c_str(), option, value, nullptr)) << extension;
    return FileBytes(path);
}

const std::vector<Sample>& Samples() {
    static const std::vector<Sample> s_samples = {
        {"png of RGB", Saved("png", 3, 8), true},
        {"png of 4 x 16", Saved("png", 4, 16), true},
        {"jpg", Saved("jpg", 3, 8), false},
        {"grey jpg", Saved("jpg", 1, 8), false},
        {"progressive jpg", Saved("jpg", 3, 8, "progressive", "1"), false},
        {"tif, lzw", Saved("tif", 3, 8), false},
        {"tif, deflate", Saved("tif", 4, 16, "compression", "deflate"), false},
        {"tif, packbits", Saved("tif", 1, 8, "compression", "packbits"), false, 4},
        {"tif, none", Saved("tif", 2, 16, "compression", "none"), false, 4},
        {"bmp of grey", Saved("bmp", 1, 8), false},
        {"bmp of RGB", Saved("bmp", 3, 8), false},
        {"bmp of RGB with alpha", Saved("bmp", 4, 8), false},
        {"bmp of runs", BmpFile(6, 3, 8, 1, 12, {30, 20, 10, 0, 60, 50, 40, 0, 90, 80, 70, 0, 3, 1, 0, 0, 0, 3, 2, 1, 2, 0, 0, 2, 0, 1, 1, 2, 0, 1}, 3), false},
        {"hdr", Saved("hdr", 3, 8), false},
        {"hdr of whole pixels", HdrFile("-Y 2 +X 2", {9, 8, 7, 128, 1, 1, 1, 1, 6, 5, 4, 127, 3, 2, 1, 126}), false},
    };
    return s_samples;
}

/// What a picture that was loaded promises: its pixels can all be read.
void ExpectSound(const ZvImage& image, const FileData& file, const std::string& what) {
    ASSERT_NE(image.GetBaseAddress(), nullptr) << what;
    const long long rows = std::abs(static_cast<long long>(image.GetHeight()));
    ASSERT_GT(image.GetWidth(), 0) << what;
    ASSERT_GT(rows, 0) << what;
    EXPECT_LE(rows * image.GetLinePitch(), (4LL << 20) + static_cast<long long>(file.size()) * 4096) << what;
    unsigned sum = 0;
    for (long long y = 0; y < rows; ++y)
        for (int i = 0; i < image.GetWidth() * image.GetPixelPitch(); ++i) sum += image.GetLine(static_cast<int>(y))[i];
    EXPECT_NE(sum, ~0u);
}

/// Into an image of its own: one that has pixels already would forget them.
bool Loads(const FileData& file) {
    ZvImage image;
    return LoadBytes(file, image);
}

struct Hostile {
    const char* what;
    FileData file;
};

/// Refused before a block for it was asked for: the image is as it was made.
void ExpectRefusedAtOnce(const std::vector<Hostile>& files) {
    for (const Hostile& hostile : files) {
        ZvImage image;
        EXPECT_FALSE(LoadBytes(hostile.file, image)) << hostile.what;
        EXPECT_EQ(image.GetWidth(), 0) << hostile.what;
        EXPECT_EQ(image.GetBaseAddress(), nullptr) << hostile.what;
    }
}

std::string Sizes(int64_t height, int64_t width) { return "-Y " + std::to_string(height) + " +X " + std::to_string(width); }

/// A file of one block that claims so much.
FileData JpegOfSize(int side) {
    FileData file = JpegOfAverages(8, 8, 1);
    const size_t at = 2 + 2 + 0x43 + 5;
    for (const size_t place : {at, at + 2}) {
        file[place] = static_cast<unsigned char>(side >> 8);
        file[place + 1] = static_cast<unsigned char>(side);
    }
    return file;
}

}

TEST(CodecDamage, BeginningOfAFileIsNoPicture) {
    for (const Sample& sample : Samples()) {
        for (size_t n = 0; n < sample.file.size() - sample.spare; ++n) {
            ZvImage image;
            EXPECT_FALSE(LoadBytes(FileData(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(n)), image))
                << sample.name << ": " << n << " of " << sample.file.size() << " bytes";
        }
        ZvImage image;
        EXPECT_TRUE(LoadBytes(sample.file, image)) << sample.name;
    }
}

TEST(CodecDamage, WrongByteIsNoticedOrMakesAnotherPicture) {
    for (const Sample& sample : Samples())
        for (size_t at = 0; at < sample.file.size(); ++at)
            for (const int bits : {0x01, 0x10, 0x80, 0xFF}) {
                FileData file = sample.file;
                file[at] = static_cast<unsigned char>(file[at] ^ bits);
                ZvImage image;
                const bool loaded = LoadBytes(file, image);
                const std::string what = sample.name + ", byte " + std::to_string(at) + " ^ " + std::to_string(bits);
                if (sample.checked) {
                    EXPECT_FALSE(loaded) << what;
                }
                if (loaded) ExpectSound(image, file, what);
            }
}

TEST(CodecDamage, DamagedFileRaisesADecodeErrorFromTheConstructor) {
    Folder folder;
    for (const Sample& sample : Samples()) {
        WriteFile(folder / "half", FileData(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(sample.file.size() / 2)));
        try {
            ZvImage image((folder / "half").c_str());
            ADD_FAILURE() << sample.name;
        } catch (const ZvImageUnloadedException& e) {
            EXPECT_EQ(*const_cast<ZvImageUnloadedException&>(e).What(), "decode error") << sample.name;
        }
    }
}

TEST(CodecDamage, PicturesOutOfProportionAreRefusedAtOnce) {
    const FileData little(12, 0);
    ExpectRefusedAtOnce({
        {"png, 2^31 - 1 squared", PngFile(0x7FFFFFFF, 0x7FFFFFFF, 16, 6, little)},
        {"png, 20000 squared", PngFile(20000, 20000, 8, 2, little)},
        {"png, one row of a million", PngFile(1000000, 3000, 16, 6, little)},
        {"bmp, 2^31 - 1 squared", BmpFile(0x7FFFFFFF, 0x7FFFFFFF, 24, 0, 0, little)},
        {"bmp, the least height", BmpFile(1, INT32_MIN, 24, 0, 0, little)},
        {"bmp, 30000 squared in runs", BmpFile(30000, 30000, 8, 1, 12, {30, 20, 10, 0, 60, 50, 40, 0, 90, 80, 70, 0, 0, 1}, 3)},
        {"bmp, no width", BmpFile(0, 5, 24, 0, 0, little)},
        {"bmp, width below 0", BmpFile(-5, 5, 24, 0, 0, little)},
        {"bmp, no height", BmpFile(5, 0, 24, 0, 0, little)},
        {"tif, 2^32 - 1 squared", TiffGrey(false, 0xFFFFFFFF, 0xFFFFFFFF, 8, little)},
        {"tif, 30000 squared", TiffGrey(true, 30000, 30000, 16, little)},
        {"tif, 60000 squared of 1 bit", TiffGrey(true, 60000, 60000, 1, little)},
        {"tif, no width", TiffGrey(true, 0, 5, 1, little)},
        {"jpg, 65500 squared", JpegOfSize(65500)},
        {"hdr, 2^31 - 1 squared", HdrFile(Sizes(0x7FFFFFFF, 0x7FFFFFFF), little)},
        {"hdr, 2^62 squared", HdrFile(Sizes(int64_t(1) << 62, int64_t(1) << 62), little)},
        {"hdr, more digits than a number has", HdrFile("-Y 1 +X 99999999999999999999999999", little)},
        {"hdr, 20000 squared", HdrFile(Sizes(20000, 20000), little)},
    });
}

TEST(CodecDamage, ProportionIsOneOfBytes) {
    // 4 MiB may come out of any file; beyond them 1024 bytes come out of each of the file's 60.
    const FileData palette = {0, 0, 0, 0};
    const auto file = [&](int height) {
        FileData rest = palette;
        Append(rest, {0, 1});
        return BmpFile(2048, height, 8, 1, 4, rest, 1);
    };
    ZvImage fits;
    ASSERT_TRUE(LoadBytes(file(2048 + 30), fits));
    EXPECT_EQ(fits.GetHeight(), 2078);
    for (int y = 0; y < fits.GetHeight(); y += 77) EXPECT_EQ(*fits.GetPixel(2047, y), 0);
    ExpectRefusedAtOnce({{"a row more", file(2048 + 31)}});
}

TEST(CodecDamage, TilesAndStripsOutOfProportionAreRefused) {
    const FileData pixels(64, 7);
    const auto tiled = [&](uint32_t width, uint32_t height) {
        return TiffFile(false, {{256, 4, 1, 8}, {257, 4, 1, 8}, {258, 3, 1, 8}, {259, 3, 1, 1}, {262, 3, 1, 1}, {277, 3, 1, 1}, {322, 4, 1, width},
                                {323, 4, 1, height}, {324, 4, 1, TiffRest(10)}, {325, 4, 1, 64}}, pixels);
    };
    EXPECT_FALSE(Loads(tiled(0x7FFFFFF0, 0x7FFFFFF0)));
    EXPECT_FALSE(Loads(tiled(65536, 65536)));
    EXPECT_FALSE(Loads(tiled(0, 0)));
    // A directory that counts more values than there are bytes.
    EXPECT_FALSE(Loads(TiffFile(false, {{256, 4, 1, 8}, {257, 4, 1, 8}, {258, 3, 1, 8}, {259, 3, 1, 1}, {262, 3, 1, 1}, {273, 4, 0x3FFFFFFF, 8},
                                            {277, 3, 1, 1}, {278, 4, 1, 1}, {279, 4, 0x3FFFFFFF, 8}}, pixels)));
}

// Each scan passes over the whole picture: a small file could keep a reader busy for hours.
TEST(CodecDamage, JpegHasSomeScansAndNotMore) {
    for (const int scans : {1, 10, 199}) {
        ZvImage image;
        EXPECT_TRUE(LoadBytes(JpegOfAverages(8, 8, scans), image)) << scans;
    }
    for (const int scans : {202, 1000}) {
        ZvImage image;
        EXPECT_FALSE(LoadBytes(JpegOfAverages(8, 8, scans), image)) << scans;
    }
}

TEST(CodecDamage, HdrRunsStayInTheirRow) {
    const auto load = [](const FileData& pixels) {
        ZvImage image;
        return LoadBytes(HdrFile("-Y 1 +X 8", pixels), image);
    };
    const FileData good = {2, 2, 0, 8, 136, 1, 136, 2, 136, 3, 136, 128};
    EXPECT_TRUE(load(good));
    const auto with = [&](size_t at, unsigned char byte) {
        FileData pixels = good;
        pixels[at] = byte;
        return pixels;
    };
    EXPECT_FALSE(load(with(3, 9)));                    // another width
    EXPECT_FALSE(load(with(4, 137)));                  // a run of 9
    EXPECT_FALSE(load(with(4, 128)));                  // a run of 128 bytes that are not there
    EXPECT_FALSE(load(with(4, 0)));                    // nothing, for ever
    EXPECT_FALSE(load({1, 1, 1, 3, 0, 0, 0, 0}));      // a repetition of nothing
    EXPECT_FALSE(load({9, 9, 9, 9, 1, 1, 1, 8}));      // one more than the row has room for
    EXPECT_TRUE(load({9, 9, 9, 9, 1, 1, 1, 7}));
    EXPECT_FALSE(load({9, 9, 9, 9, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 255}));
}

TEST(CodecDamage, HeadersThatEndNowhere) {
    FileData hdr;
    AppendText(hdr, "#?RADIANCE\n" + std::string(100000, 'x'));
    ZvImage image;
    EXPECT_FALSE(LoadBytes(hdr, image));
    EXPECT_FALSE(LoadBytes({0xFF, 0xD8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, image));
    EXPECT_FALSE(LoadBytes({'I', 'I', 42, 0, 0xFF, 0xFF, 0xFF, 0xFF}, image));
    EXPECT_FALSE(LoadBytes({'I', 'I', 43, 0, 8, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}, image));
    EXPECT_FALSE(LoadBytes({'B', 'M'}, image));
}

// ---- streams that do not take or give everything ----

TEST(CodecDamage, StreamWithoutRoomIsAFailedSave) {
    const Picture picture = MakePicture(40, 30, 3, 8);
    for (const auto format : {ZvImage::BMP, ZvImage::JPG, ZvImage::PNG, ZvImage::TIF}) {
        ZvStream$ small = MemoryOf(FileData(100)), large = MemoryOf(FileData(100000)), full = new ZvStdFILEStream("/dev/full", "wb");
        EXPECT_FALSE(ToImage(picture)->Save(small, format)) << format;
        EXPECT_TRUE(ToImage(picture)->Save(large, format)) << format;
        EXPECT_FALSE(ToImage(picture)->Save(full, format)) << format;
    }
}

TEST(CodecDamage, StreamThatNeverOpenedIsAFailedLoadAndSave) {
    Folder folder;
    ZvImage image;
    EXPECT_FALSE(image.Load((folder / "none.png").c_str()));
    EXPECT_FALSE(ToImage(MakePicture(4, 4, 3, 8))->Save((folder / "none/a.png").c_str(), nullptr));
    ZvStream$ closed = new ZvStdFILEStream((folder / "none").c_str(), "rb");
    EXPECT_FALSE(image.Load(closed));
    EXPECT_FALSE(image.Load(folder.Path().c_str()));                                    // a folder
}
