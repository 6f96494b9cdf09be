// The codec plug-ins: what is saved is loaded again, tools that are not ours read what we write, and we read what they write.

#include "../support/Folder.h"
#include "../support/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

Picture Loaded(const std::string& path) {
    ZvImage image;
    if (!image.Load(path.c_str())) return {};
    return FromImage(image);
}

/// Pixels that differ between two files, by ImageMagick; alpha counts.
std::string Differing(const std::string& a, const std::string& b) {
    return RunShell("compare -metric AE '" + a + "' '" + b + "' null:").output;
}

int WorstDifference(const Picture& a, const Picture& b) {
    int worst = 0;
    for (size_t i = 0; i < std::min(a.samples.size(), b.samples.size()); ++i) worst = std::max(worst, std::abs(a.samples[i] - b.samples[i]));
    return worst;
}

struct Kind {
    const char* extension;
    int channels, depth;
};

std::string Name(const Kind& kind) {
    return std::string(kind.extension) + " of " + std::to_string(kind.channels) + " x " + std::to_string(kind.depth);
}

const Kind s_lossless[] = {
    {"png", 1, 8}, {"png", 2, 8}, {"png", 3, 8}, {"png", 4, 8}, {"png", 1, 16}, {"png", 2, 16}, {"png", 3, 16}, {"png", 4, 16},
    {"tif", 1, 8}, {"tif", 2, 8}, {"tif", 3, 8}, {"tif", 4, 8}, {"tif", 1, 16}, {"tif", 2, 16}, {"tif", 3, 16}, {"tif", 4, 16},
    {"bmp", 1, 8}, {"bmp", 3, 8}, {"bmp", 4, 8},
};

std::vector<std::string> Textures() {
    std::vector<std::string> paths;
    std::istringstream lines(RunShell("dpkg -L glmark2-data").output);
    for (std::string line; std::getline(lines, line);)
        for (const char* name : {"/nasa1.png", "/terrain-grasslight-512.jpg", "/asteroid-height-map.png", "/desktop-shadow.png", "/effect-2d.png", "/glyph-atlas.png"})
            if (line.ends_with(name)) paths.push_back(line);
    return paths;
}

}

TEST(Codecs, LosslessFormatsBringBackWhatWasSaved) {
    Folder folder;
    for (const Kind& kind : s_lossless)
        for (const int width : {1, 2, 3, 5, 8, 17, 64})
            for (const bool bottomUp : {true, false}) {
                const Picture picture = MakePicture(width, 11, kind.channels, kind.depth);
                const std::string path = folder / ("picture." + std::string(kind.extension));
                ASSERT_TRUE(ToImage(picture, bottomUp)->Save(path.c_str(), nullptr)) << Name(kind);
                EXPECT_TRUE(Loaded(path) == picture) << Name(kind) << ", width " << width << ", bottom-up " << bottomUp;
            }
}

TEST(Codecs, BottomUpImageComesBackEqual) {
    Folder folder;
    for (const Kind& kind : s_lossless) {
        ZvImage$ image = ToImage(MakePicture(13, 7, kind.channels, kind.depth)), loaded = new ZvImage;
        const std::string path = folder / ("picture." + std::string(kind.extension));
        ASSERT_TRUE(image->Save(path.c_str(), nullptr));
        ASSERT_TRUE(loaded->Load(path.c_str()));
        EXPECT_TRUE(loaded->Equals(image.Get())) << Name(kind);
        EXPECT_EQ(loaded->GetHashCode(), image->GetHashCode()) << Name(kind);
        EXPECT_EQ(loaded->GetSampleType(), 0);
    }
}

TEST(Codecs, BmpKeepsTheOrderOfRows) {
    Folder folder;
    for (const bool bottomUp : {true, false}) {
        ZvImage$ image = ToImage(MakePicture(5, 4, 3, 8), bottomUp), loaded = new ZvImage;
        ASSERT_TRUE(image->Save((folder / "a.bmp").c_str(), nullptr));
        ASSERT_TRUE(loaded->Load((folder / "a.bmp").c_str()));
        EXPECT_EQ(loaded->GetHeight(), bottomUp ? 4 : -4);
        EXPECT_TRUE(loaded->Equals(image.Get()));
    }
}

TEST(Codecs, ImageWithAPitchOfItsOwnIsSavedByItsPixels) {
    Folder folder;
    for (const Kind& kind : s_lossless) {
        const Picture picture = MakePicture(9, 6, kind.channels, kind.depth);
        const std::string path = folder / ("picture." + std::string(kind.extension));
        ASSERT_TRUE(ToImage(picture, true, 101)->Save(path.c_str(), nullptr)) << Name(kind);
        EXPECT_TRUE(Loaded(path) == picture) << Name(kind);
    }
}

TEST(Codecs, ImageMagickSeesTheSamePixels) {
    Folder folder;
    for (const Kind& kind : s_lossless)
        for (const bool bottomUp : {true, false}) {
            const Picture picture = MakePicture(37, 23, kind.channels, kind.depth);
            const std::string path = folder / ("picture." + std::string(kind.extension));
            WriteFile(folder / "truth.pam", ToNetpbm(picture));
            ASSERT_TRUE(ToImage(picture, bottomUp)->Save(path.c_str(), nullptr)) << Name(kind);
            EXPECT_EQ(Differing(folder / "truth.pam", path), "0") << Name(kind);
            const std::string depth = RunShell("identify -format '%z' '" + path + "'").output;
            EXPECT_EQ(depth, std::to_string(kind.depth)) << Name(kind);
        }
}

TEST(Codecs, PngcheckFindsNoFault) {
    Folder folder;
    for (const Kind& kind : s_lossless) {
        if (std::string(kind.extension) != "png") continue;
        ASSERT_TRUE(ToImage(MakePicture(40, 30, kind.channels, kind.depth))->Save((folder / "a.png").c_str(), nullptr));
        const Ran ran = RunShell("pngcheck '" + folder / "a.png" + "'");
        EXPECT_EQ(ran.code, 0) << ran.output;
        static const char* const colours[] = {"grayscale", "grayscale+alpha", "RGB", "RGB+alpha"};
        EXPECT_NE(ran.output.find(colours[kind.channels - 1]), std::string::npos) << ran.output;
        EXPECT_NE(ran.output.find("40x30, " + std::to_string(kind.depth * kind.channels) + "-bit"), std::string::npos) << ran.output;
    }
}

TEST(Codecs, TiffinfoReadsTheTags) {
    Folder folder;
    const struct {
        const char* compression;
        const char* scheme;
    } cases[] = {{"none", "None"}, {"lzw", "LZW"}, {"deflate", "AdobeDeflate"}, {"packbits", "PackBits"}, {"nonsense", "LZW"}};
    for (const auto& c : cases) {
        const Picture picture = MakePicture(40, 30, 4, 16);
        ASSERT_TRUE(ToImage(picture)->Save((folder / "a.tif").c_str(), "compression", c.compression, nullptr));
        const std::string tags = RunShell("tiffinfo '" + folder / "a.tif" + "'").output;
        const std::string expected[] = {"Image Width: 40 Image Length: 30", "Bits/Sample: 16", "Compression Scheme: " + std::string(c.scheme) + "\n",
                                        "Photometric Interpretation: RGB color", "Samples/Pixel: 4", "Extra Samples: 1<unassoc-alpha>",
                                        "Orientation: row 0 top, col 0 lhs"};
        for (const std::string& line : expected)
            EXPECT_NE(tags.find(line), std::string::npos) << line << "\n" << tags;
        EXPECT_EQ(tags.find("Warning"), std::string::npos) << tags;
        EXPECT_TRUE(Loaded(folder / "a.tif") == picture) << c.compression;
    }
}

TEST(Codecs, DjpegSeesThePixelsThatWeLoad) {
    Folder folder;
    for (const int channels : {1, 3})
        for (const char* options : {"420", "422", "444", "progressive"}) {
            const Picture picture = MakeSmooth(61, 43, channels);
            const std::string path = folder / "a.jpg";
            const bool progressive = std::string(options) == "progressive";
            ASSERT_TRUE(ToImage(picture)->Save(path.c_str(), progressive ? "progressive" : "subsampling", progressive ? "1" : options, nullptr));
            ASSERT_EQ(RunShell("djpeg -pnm -outfile '" + folder / "a.ppm" + "' '" + path + "'").code, 0);
            const std::vector<unsigned char> file = FileBytes(folder / "a.ppm");
            const size_t pixels = static_cast<size_t>(61 * 43 * channels);
            ASSERT_GT(file.size(), pixels);
            const Picture theirs = FromRaw({file.end() - static_cast<std::ptrdiff_t>(pixels), file.end()}, 61, 43, channels, 8);
            const Picture ours = Loaded(path);
            EXPECT_TRUE(ours == theirs) << options;
            EXPECT_LT(WorstDifference(ours, picture), 32) << options;
        }
}

TEST(Codecs, JpegOptionsReachTheFile) {
    Folder folder;
    const auto size = [&](const char* name, const char* value) {
        const std::string path = folder / "a.jpg";
        EXPECT_TRUE(ToImage(MakePicture(64, 64, 3, 8))->Save(path.c_str(), name, value, nullptr));
        return std::filesystem::file_size(path);
    };
    EXPECT_LT(size("quality", "10"), size("quality", "50"));
    EXPECT_LT(size("quality", "50"), size("quality", "100"));
    EXPECT_EQ(size("quality", "90"), size("unknown", "5"));          // the default, and an option that nobody knows
    EXPECT_EQ(size("quality", "lots"), size("quality", "90"));
    EXPECT_EQ(size("quality", "1000"), size("quality", "100"));
    EXPECT_EQ(size("quality", "-3"), size("quality", "1"));
    EXPECT_LT(size("subsampling", "420"), size("subsampling", "422"));
    EXPECT_LT(size("subsampling", "422"), size("subsampling", "444"));
    EXPECT_EQ(size("subsampling", "420"), size("subsampling", "0"));
    size("progressive", "yes");
    EXPECT_NE(RunShell("identify -verbose '" + folder / "a.jpg" + "'").output.find("Interlace: JPEG"), std::string::npos);
    size("progressive", "0");
    EXPECT_NE(RunShell("identify -verbose '" + folder / "a.jpg" + "'").output.find("Interlace: None"), std::string::npos);
}

TEST(Codecs, PngCompressionReachesTheFile) {
    Folder folder;
    const auto size = [&](const char* value) {
        EXPECT_TRUE(ToImage(MakeSmooth(64, 64, 3))->Save((folder / "a.png").c_str(), "compression", value, nullptr));
        return std::filesystem::file_size(folder / "a.png");
    };
    EXPECT_GT(size("0"), 64u * 64 * 3);
    EXPECT_LT(size("9"), 64u * 64);
    EXPECT_EQ(size("many"), size("6"));
}

TEST(Codecs, OfSeveralValuesTheLastCounts) {
    Folder folder;
    ZvImage$ image = ToImage(MakePicture(64, 64, 3, 8));
    ASSERT_TRUE(image->Save((folder / "a.jpg").c_str(), "quality", "10", "quality", "95", nullptr));
    ASSERT_TRUE(image->Save((folder / "b.jpg").c_str(), "quality", "95", nullptr));
    EXPECT_EQ(FileBytes(folder / "a.jpg"), FileBytes(folder / "b.jpg"));
}

TEST(Codecs, FormatsRefuseWhatTheyCannotHold) {
    Folder folder;
    for (const Kind& kind : {Kind{"jpg", 2, 8}, Kind{"jpg", 4, 8}, Kind{"jpg", 1, 16}, Kind{"jpg", 3, 16}, Kind{"bmp", 2, 8}, Kind{"bmp", 1, 16},
                             Kind{"bmp", 3, 16}, Kind{"hdr", 2, 8}, Kind{"hdr", 4, 8}, Kind{"hdr", 4, 16}})
        EXPECT_FALSE(ToImage(MakePicture(4, 4, kind.channels, kind.depth))->Save((folder / ("a." + std::string(kind.extension))).c_str(), nullptr))
            << Name(kind);
}

TEST(Codecs, NoFormatTakesAnImageWithoutPixelsOrOfAnotherDepth) {
    Folder folder;
    std::vector<unsigned char> pixels(1024);
    ZvImage$ const images[] = {
        new ZvImage, new ZvImage(4, 4, 3, 8, 0, nullptr, 0, false), new ZvImage(0, 4, 3, 8, 0, pixels.data(), 0, false),
        new ZvImage(4, 0, 3, 8, 0, pixels.data(), 0, false), new ZvImage(4, 4, 5, 8, 0, pixels.data(), 0, false),
        new ZvImage(4, 4, 0, 8, 0, pixels.data(), 0, false), new ZvImage(4, 4, 3, 1, 0, pixels.data(), 0, false),
        new ZvImage(4, 4, 3, short(-32736), 0, pixels.data(), 48, false), new ZvImage(4, 4, 3, 32, 0, pixels.data(), 0, false),
        new ZvImage(4, 4, 3, -16, 0, pixels.data(), 24, false),
    };
    for (const char* extension : {"png", "jpg", "tif", "bmp", "hdr"})
        for (const ZvImage$& image : images) EXPECT_FALSE(image->Save((folder / ("a." + std::string(extension))).c_str(), nullptr)) << extension;
}

TEST(Codecs, ContentDecidesAndNotTheExtension) {
    Folder folder;
    const Picture picture = MakePicture(7, 5, 3, 8);
    for (const char* format : {"png", "tif", "bmp"}) {
        ASSERT_TRUE(ToImage(picture)->Save((folder / "wrong.png").c_str(), "format", format, nullptr));
        EXPECT_TRUE(Loaded(folder / "wrong.png") == picture) << format;
        ZvStream$ stream = new ZvStdFILEStream((folder / "wrong.png").c_str(), "rb");
        EXPECT_EQ(std::string(ZvObject$(ZvImgCodec::GetDecoder(stream, "png"))->GetType()->GetName()->CStr()),
                  format == std::string("png") ? "zvc::codecs::PngCodec" : format == std::string("tif") ? "zvc::codecs::TifCodec" : "zvc::codecs::BmpCodec");
    }
}

TEST(Codecs, EveryExtensionIsKnown) {
    ZvStream$ stream = new ZvStdFILEStream("/dev/null", "rb");
    for (const char* extension : {"png", "PNG", "jpg", "JPEG", "jpe", "tif", "Tiff", "bmp", "dib", "hdr", "rgbe"})
        EXPECT_TRUE(ZvImgCodec::GetEncoder(stream, extension)) << extension;
    for (const char* extension : {"pn", "pngx", "gif", "", "webp"}) EXPECT_FALSE(ZvImgCodec::GetEncoder(stream, extension)) << extension;
}

TEST(Codecs, TexturesAreReadAsImageMagickReadsThem) {
    Folder folder;
    const std::vector<std::string> textures = Textures();
    ASSERT_EQ(textures.size(), 6u);
    for (const std::string& path : textures) {
        const Picture ours = Loaded(path);
        ASSERT_GT(ours.width, 0) << path;
        const std::string type = ours.channels == 1 ? "gray" : ours.channels == 2 ? "graya" : ours.channels == 3 ? "rgb" : "rgba";
        ASSERT_EQ(RunShell("convert '" + path + "' -depth 8 " + type + ":'" + folder / "raw" + "'").code, 0) << path;
        EXPECT_TRUE(ours == FromRaw(FileBytes(folder / "raw"), ours.width, ours.height, ours.channels, 8)) << path;
    }
}

TEST(Codecs, PhotographGoesThroughEveryFormat) {
    Folder folder;
    for (const std::string& path : Textures()) {
        if (!path.ends_with("grasslight-512.jpg")) continue;
        ZvImage photograph(path.c_str());
        for (const char* extension : {"png", "tif", "bmp"}) {
            const std::string copy = folder / ("copy." + std::string(extension));
            ASSERT_TRUE(photograph.Save(copy.c_str(), nullptr));
            EXPECT_EQ(Differing(path, copy), "0") << extension;
        }
        ASSERT_TRUE(photograph.Save((folder / "copy.jpg").c_str(), "quality", "95", nullptr));
        const std::string noise = RunShell("compare -metric PSNR '" + path + "' '" + folder / "copy.jpg" + "' null:").output;
        EXPECT_GT(std::atof(noise.c_str()), 30.0) << noise;
        return;
    }
    FAIL() << "no photograph";
}

// ---- what other programs write ----

struct Variant {
    const char* make;            // the arguments of ImageMagick's convert
    const char* file;
    int channels, depth;         // of the image that is loaded
    int rounding = 0;            // what a sample may differ by
};

void ExpectReadAsImageMagickReads(const std::vector<Variant>& variants) {
    Folder folder;
    WriteFile(folder / "rgb.pam", ToNetpbm(MakeSmooth(45, 31, 3)));
    WriteFile(folder / "rgba.pam", ToNetpbm(MakePicture(45, 31, 4, 8)));
    WriteFile(folder / "deep.pam", ToNetpbm(MakePicture(45, 31, 3, 16)));
    for (const Variant& v : variants) {
        const std::string file = v.file, path = folder / file.substr(file.find(':') + 1);
        const Ran made = RunShell("cd '" + folder.Path() + "' && convert " + v.make + " " + file);
        ASSERT_EQ(made.code, 0) << v.file << made.output;
        const Picture ours = Loaded(path);
        ASSERT_EQ(ours.channels, v.channels) << v.file;
        ASSERT_EQ(ours.depth, v.depth) << v.file;
        const std::string type = v.channels == 1 ? "gray" : v.channels == 3 ? "rgb" : "rgba";
        const std::string oriented = path.find("-left") != std::string::npos || path.find("-right") != std::string::npos ? " -auto-orient" : "";
        ASSERT_EQ(RunShell("convert '" + path + "'" + oriented + " -depth " + std::to_string(v.depth) + " -endian MSB " + type + ":'" + folder / "raw" + "'").code, 0);
        const Picture theirs = FromRaw(FileBytes(folder / "raw"), 45, 31, v.channels, v.depth);
        ASSERT_EQ(ours.samples.size(), theirs.samples.size()) << v.file;
        EXPECT_LE(WorstDifference(ours, theirs), v.rounding) << v.file;
    }
}

TEST(Codecs, PngVariantsOfOtherProgramsAreRead) {
    ExpectReadAsImageMagickReads({
        {"rgb.pam -colors 200", "PNG8:palette.png", 3, 8},
        {"rgb.pam -colors 4", "PNG8:few.png", 3, 8},
        {"rgb.pam -monochrome", "mono.png", 1, 8},
        {"rgb.pam -colorspace gray -depth 2", "two.png", 1, 8},
        {"rgb.pam -colorspace gray -depth 4", "four.png", 1, 8},
        {"rgb.pam -interlace PNG", "interlaced.png", 3, 8},
        {"rgba.pam -interlace PNG", "interlaced-alpha.png", 4, 8},
        {"deep.pam -interlace PNG", "interlaced-deep.png", 3, 16},
        {"rgba.pam -colors 60", "PNG8:transparent.png", 4, 8},
    });
}

TEST(Codecs, BmpVariantsOfOtherProgramsAreRead) {
    ExpectReadAsImageMagickReads({
        {"rgb.pam -type TrueColor", "BMP2:old.bmp", 3, 8},
        {"rgb.pam -type TrueColor", "BMP3:info.bmp", 3, 8},
        {"rgba.pam", "BMP:alpha.bmp", 4, 8},
        {"rgb.pam -colors 200 -type Palette -compress None", "BMP3:palette.bmp", 3, 8},
        {"rgb.pam -colors 200 -type Palette", "BMP2:old-palette.bmp", 3, 8},
        {"rgb.pam -colors 12 -type Palette -compress None", "BMP3:sixteen.bmp", 3, 8},
        {"rgb.pam -colors 12 -type Palette -compress RLE", "BMP3:runs.bmp", 3, 8},
        {"rgb.pam -colors 250 -type Palette -compress RLE", "BMP3:more-runs.bmp", 3, 8},
        {"rgb.pam -monochrome", "BMP3:mono.bmp", 1, 8},
        {"rgb.pam -type TrueColor -define bmp:subtype=RGB565", "BMP:565.bmp", 3, 8, 1},
        {"rgb.pam -type TrueColor -define bmp:subtype=RGB555", "BMP:555.bmp", 3, 8, 1},
    });
}

TEST(Codecs, TiffVariantsOfOtherProgramsAreRead) {
    ExpectReadAsImageMagickReads({
        {"rgb.pam -compress None", "none.tif", 3, 8},
        {"rgb.pam -compress LZW", "lzw.tif", 3, 8},
        {"rgb.pam -compress Zip", "zip.tif", 3, 8},
        {"rgb.pam -compress RLE", "packbits.tif", 3, 8},
        {"rgb.pam -compress None -endian MSB", "motorola.tif", 3, 8},
        {"deep.pam -compress None -endian MSB", "motorola-deep.tif", 3, 16},
        {"deep.pam -compress Zip -endian LSB", "intel-deep.tif", 3, 16},
        {"rgb.pam -compress LZW -interlace plane", "planes.tif", 3, 8},
        {"deep.pam -compress None -interlace plane", "deep-planes.tif", 3, 16},
        {"rgb.pam -compress Zip -define tiff:tile-geometry=16x16", "tiles.tif", 3, 8},
        {"deep.pam -compress None -define tiff:tile-geometry=32x16", "deep-tiles.tif", 3, 16},
        {"rgb.pam -compress LZW -define tiff:rows-per-strip=7", "strips.tif", 3, 8},
        {"rgb.pam -colors 100 -type Palette -compress LZW", "palette.tif", 3, 8, 1},
        {"rgb.pam -monochrome -compress Group4", "fax.tif", 1, 8},
        {"rgb.pam -monochrome -compress Fax", "fax3.tif", 1, 8},
        {"rgb.pam -monochrome -compress None -define quantum:polarity=min-is-white", "white.tif", 1, 8},
        {"rgb.pam -colorspace gray -depth 4 -compress None", "four.tif", 1, 8},
        {"rgb.pam -colorspace gray -depth 2 -compress None", "two.tif", 1, 8},
        {"rgb.pam -colorspace gray -compress LZW", "grey.tif", 1, 8},
        {"rgb.pam -compress JPEG", "jpeg.tif", 3, 8},
        {"rgb.pam -compress LZW -orient bottom-left", "bottom-left.tif", 3, 8},
        {"rgb.pam -compress LZW -orient top-right", "top-right.tif", 3, 8},
        {"rgb.pam -compress LZW -orient bottom-right", "bottom-right.tif", 3, 8},
        {"rgb.pam -compress None", "TIFF64:big.tif", 3, 8},
    });
}

TEST(Codecs, JpegVariantsOfOtherProgramsAreRead) {
    ExpectReadAsImageMagickReads({
        {"rgb.pam -colorspace gray", "grey.jpg", 1, 8},
        {"rgb.pam -interlace JPEG -quality 80", "progressive.jpg", 3, 8},
        {"rgb.pam -sampling-factor 4x1 -quality 80", "wide.jpg", 3, 8},
    });
}

TEST(Codecs, InksAreReadAsRgb) {
    Folder folder;
    WriteFile(folder / "rgb.pam", ToNetpbm(MakeSmooth(40, 40, 3)));
    for (const char* extension : {"jpg", "tif"}) {
        const std::string path = folder / ("inks." + std::string(extension));
        ASSERT_EQ(RunShell("convert '" + folder / "rgb.pam" + "' -colorspace CMYK -quality 100 -sampling-factor 1x1 '" + path + "'").code, 0);
        const Picture ours = Loaded(path), truth = MakeSmooth(40, 40, 3);
        ASSERT_EQ(ours.channels, 3) << extension;
        EXPECT_LE(WorstDifference(ours, truth), 6) << extension;
    }
}

// ---- packed colours ----

TEST(Codecs, HdrPictureIsPackedColoursByteForByte) {
    Folder folder;
    for (const int width : {1, 7, 8, 40, 200}) {
        ZvImage$ image = new ZvImage(width, 9, 4, 8, 'E', nullptr, 0, true), loaded = new ZvImage;
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < width; ++x) {
                const zvpackedcolor p(zvcolor(y < 3 ? 0.5f : float(x) * 3, float(y) / 100, y < 6 ? 1e5f : float(x * y % 17)));
                std::memcpy(image->GetPixel(x, y), &p, 4);
            }
        ASSERT_TRUE(image->Save((folder / "a.hdr").c_str(), nullptr));
        ASSERT_TRUE(loaded->Load((folder / "a.hdr").c_str()));
        EXPECT_TRUE(loaded->Equals(image.Get())) << width;
        EXPECT_EQ(loaded->GetSampleType(), 'E');
    }
}

TEST(Codecs, ImageMagickReadsTheColoursOfAnHdrPicture) {
    Folder folder;
    ZvImage$ image = new ZvImage(16, 2, 4, 8, 'E', nullptr, 0, true);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 16; ++x) {
            const zvpackedcolor p(128, 64, static_cast<unsigned char>(x * 8), 128);          // 0.5, 0.25, x/32
            std::memcpy(image->GetPixel(x, y), &p, 4);
        }
    ASSERT_TRUE(image->Save((folder / "a.hdr").c_str(), nullptr));
    ASSERT_EQ(RunShell("convert '" + folder / "a.hdr" + "' -set colorspace sRGB -depth 16 -endian MSB rgb:'" + folder / "raw" + "'").code, 0);
    const Picture theirs = FromRaw(FileBytes(folder / "raw"), 16, 2, 3, 16);
    for (size_t x = 0; x < 16; ++x) {
        EXPECT_NEAR(theirs.samples[x * 3], 32768, 300);
        EXPECT_NEAR(theirs.samples[x * 3 + 1], 16384, 300);
        EXPECT_NEAR(theirs.samples[x * 3 + 2], 2048.0 * static_cast<double>(x), 300);
    }
}

TEST(Codecs, HdrOfSamplesIsTheirRealizedLight) {
    Folder folder;
    for (const Kind& kind : {Kind{"hdr", 1, 8}, Kind{"hdr", 3, 8}, Kind{"hdr", 1, 16}, Kind{"hdr", 3, 16}}) {
        const Picture picture = MakePicture(20, 6, kind.channels, kind.depth);
        ASSERT_TRUE(ToImage(picture)->Save((folder / "a.hdr").c_str(), nullptr));
        const Picture packed = Loaded(folder / "a.hdr");
        ASSERT_EQ(packed.channels, 4);
        for (size_t i = 0; i < packed.samples.size() / 4; ++i) {
            const auto byte = [&](size_t c) { return static_cast<unsigned char>(packed.samples[i * 4 + c]); };
            const zvcolor light = zvpackedcolor(byte(0), byte(1), byte(2), byte(3));
            float greatest = 0;
            for (size_t c = 0; c < 3; ++c)
                greatest = std::max(greatest, float(picture.samples[i * size_t(kind.channels) + (kind.channels == 1 ? 0 : c)]) / (kind.depth == 8 ? 255.0f : 65535.0f));
            for (size_t c = 0; c < 3; ++c) {
                const float truth = float(picture.samples[i * size_t(kind.channels) + (kind.channels == 1 ? 0 : c)]) / (kind.depth == 8 ? 255.0f : 65535.0f);
                EXPECT_NEAR(light[c], truth, greatest / 128 + 1e-6f);
            }
        }
    }
}

TEST(Codecs, PackedColoursAreNoRgbWithAlpha) {
    Folder folder;
    ZvImage$ image = new ZvImage(8, 8, 4, 8, 'E', nullptr, 0, true);
    for (const char* extension : {"png", "tif", "bmp", "jpg"})
        EXPECT_FALSE(image->Save((folder / ("a." + std::string(extension))).c_str(), nullptr)) << extension;
}

TEST(Codecs, HdrIsReadFromEitherSideAndInBothPackings) {
    // Two rows of two pixels; the second row is a pixel and a run of one.
    const std::string a = "\x80\x40\x20\x81", b = "\x81\x41\x21\x80", c = "\x82\x42\x22\x7f", run("\x01\x01\x01\x01", 4);
    const auto load = [&](const std::string& resolution) {
        Folder folder;
        WriteFile(folder / "a.hdr", "#?RGBE\n# a comment\nEXPOSURE=1\nFORMAT=32-bit_rle_rgbe\n\n" + resolution + "\n" + a + b + c + run);
        return Loaded(folder / "a.hdr").samples;
    };
    const auto expected = [](const std::string& bytes) {
        std::vector<uint16_t> samples;
        for (const char byte : bytes) samples.push_back(static_cast<unsigned char>(byte));
        return samples;
    };
    EXPECT_EQ(load("-Y 2 +X 2"), expected(a + b + c + c));
    EXPECT_EQ(load("+Y 2 +X 2"), expected(c + c + a + b));
    EXPECT_EQ(load("-Y 2 -X 2"), expected(b + a + c + c));
    EXPECT_EQ(load("+Y 2 -X 2"), expected(c + c + b + a));
    for (const char* wrong : {"+X 2 -Y 2", "-Y 2", "-Y 0 +X 2", "-Y 2 +X 0", "-Y -2 +X 2", "-Y 2 +X 2x", "Y 2 X 2", "-Y 2 +Y 2", "-Y 3 +X 2", ""})
        EXPECT_TRUE(load(wrong).empty()) << wrong;
}
