// Pictures through every kind of stream.

#include "../support/Folder.h"
#include "../support/Picture.h"
#include "../support/PictureFiles.h"

#include <gtest/gtest.h>

namespace {

const struct {
    ZvImage::Format format;
    const char* extension;
} s_formats[] = {{ZvImage::BMP, "bmp"}, {ZvImage::PNG, "png"}, {ZvImage::TIF, "tif"}, {ZvImage::JPG, "jpg"}};

/// Big enough for a stream to be read in several pieces.
const Picture& Large() {
    static const Picture s_picture = MakePicture(331, 257, 3, 8);
    return s_picture;
}

/// The file that a save to a path makes.
FileData Expected(const char* extension) {
    Folder folder;
    const std::string path = folder / ("a." + std::string(extension));
    EXPECT_TRUE(ToImage(Large())->Save(path.c_str(), nullptr));
    return FileBytes(path);
}

void ExpectLoads(ZvStream$& stream, const char* extension) {
    ZvImage image;
    ASSERT_TRUE(image.Load(stream)) << extension;
    if (extension != std::string("jpg")) {
        EXPECT_TRUE(FromImage(image) == Large()) << extension;
    }
}

}

TEST(CodecStreams, FilesOfTheCLibrary) {
    Folder folder;
    for (const auto& f : s_formats) {
        {
            ZvStream$ stream = new ZvStdFILEStream((folder / "a").c_str(), "wb");
            ASSERT_TRUE(ToImage(Large())->Save(stream, f.format));
        }
        EXPECT_EQ(FileBytes(folder / "a"), Expected(f.extension));
        ZvStream$ stream = new ZvStdFILEStream((folder / "a").c_str(), "rb");
        ExpectLoads(stream, f.extension);
    }
}

TEST(CodecStreams, FilesOfTheSystem) {
    Folder folder;
    for (const auto& f : s_formats) {
        const std::string path = folder / f.extension;
        {
            ZvStream$ stream = new ZvFileStream(path.c_str(), ZvFile::Write, ZvFile::Create);
            ASSERT_TRUE(ToImage(Large())->Save(stream, f.format));
        }
        EXPECT_EQ(FileBytes(path), Expected(f.extension));
        ZvStream$ stream = new ZvFileStream(path.c_str(), ZvFile::Read, ZvFile::Open);
        ExpectLoads(stream, f.extension);
    }
}

TEST(CodecStreams, StreamsOfTheStandardLibrary) {
    for (const auto& f : s_formats) {
        std::stringstream text;
        {
            ZvStream$ stream = new ZvStdIOStream(text);
            ASSERT_TRUE(ToImage(Large())->Save(stream, f.format));
        }
        const FileData expected = Expected(f.extension);
        EXPECT_EQ(text.str(), std::string(expected.begin(), expected.end()));
        ZvStream$ stream = new ZvStdIOStream(text);
        ExpectLoads(stream, f.extension);
    }
}

TEST(CodecStreams, Memory) {
    for (const auto& f : s_formats) {
        const FileData expected = Expected(f.extension);
        ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array = new ZvPrimArray<unsigned char>(expected.size() + 1, nullptr);
        {
            ZvStream$ stream = new ZvMemoryStream(array);
            ASSERT_TRUE(ToImage(Large())->Save(stream, f.format));
        }
        EXPECT_EQ(std::memcmp(array->GetBaseAddress(), expected.data(), expected.size()), 0);
        ZvStream$ stream = new ZvMemoryStream(array);
        ExpectLoads(stream, f.extension);
    }
}

TEST(CodecStreams, BehindSomethingElse) {
    Folder folder;
    for (const auto& f : s_formats) {
        FileData file = {'b', 'e', 'f', 'o', 'r', 'e'};
        Append(file, Expected(f.extension));
        WriteFile(folder / "a", file);
        ZvStream$ stream = new ZvStdFILEStream((folder / "a").c_str(), "rb");
        stream->Seekg(6, ZvStream::Begin);
        ExpectLoads(stream, f.extension);
        EXPECT_EQ(stream->Tellg(), static_cast<long long>(file.size()));
        EXPECT_FALSE(stream->Fail());
    }
}

// What comes out of a pipe cannot be sought in; what was looked at for the signature is gone. So it is a known kind or none.
TEST(CodecStreams, PipeIsNoPictureAndNoHarm) {
    Folder folder;
    ASSERT_TRUE(ToImage(Large())->Save((folder / "a.png").c_str(), nullptr));
    FILE* pipe = popen(("cat '" + folder / "a.png" + "'").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    {
        ZvStream$ stream = new ZvStdFILEStream(fileno(pipe), "rb");
        ZvImage image;
        EXPECT_FALSE(image.Load(stream));
    }
    pclose(pipe);
}

TEST(CodecStreams, FormatsAreThoseOfTheirExtensions) {
    for (const auto& f : s_formats) {
        ZvStream$ stream = MemoryOf(FileData(1 << 20));
        ASSERT_TRUE(ToImage(Large())->Save(stream, f.format));
        stream->Seekg(0, ZvStream::Begin);
        const ZvObject$ decoder = ZvImgCodec::GetDecoder(stream, nullptr);
        const std::string kind = decoder->GetType()->GetName()->CStr();
        EXPECT_EQ(kind.substr(kind.rfind(':') + 1), std::string(1, static_cast<char>(std::toupper(f.extension[0]))) + (f.extension + 1) + "Codec");
    }
    ZvStream$ stream = MemoryOf(FileData(1 << 20));
    for (const int other : {-1, 4, 100}) EXPECT_FALSE(ToImage(Large())->Save(stream, ZvImage::Format(other))) << other;
}
