// Loading and saving through whatever codec the registry answers with.

#include "zvc/imaging/ZvImage.h"

#include "../modules/TestCodec.h"
#include "../support/Codecs.h"
#include "../support/Folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace {

/// What the codecs below saw last, and what they are to answer.
struct Seen {
    std::string encoder;                                    // the extension of the type that made it
    int optionCount = -1;
    bool hasArrays = false;
    std::vector<std::string> names, values;
    const ZvImage* image = nullptr;
    bool answer = true;
} s_seen;

/// Decodes "TAPE", a width as one character, and a row of so many bytes of 16-bit samples; encodes the word "encoded".
class TapeCodec : public TestCodec {
    ZV_DECLARE_CLASS(TapeCodec)
public:
    using TestCodec::TestCodec;
    bool DecodeImage(ZvImage* image) override {
        char head[5];
        if (Read(head, 5) != 5 || head[4] == 'X') return false;
        std::string row(static_cast<size_t>(head[4] - '0') * 2, 0);
        if (Read(row.data(), static_cast<long long>(row.size())) != static_cast<long long>(row.size())) return false;
        return image->Create(head[4] - '0', 1, 1, 16, 4, reinterpret_cast<unsigned char*>(row.data()), static_cast<int>(row.size()), true);
    }
    bool EncodeImage(const ZvImage* image, int count, const char** names, const char** values) override {
        s_seen.image = image;
        s_seen.optionCount = count;
        s_seen.hasArrays = names != nullptr && values != nullptr;
        EXPECT_EQ(names == nullptr, values == nullptr);
        s_seen.names.assign(names, names + count);
        s_seen.values.assign(values, values + count);
        Write("encoded", 7);
        return s_seen.answer;
    }
};

const char* s_tape[] = {"TAPE", nullptr};
const char* s_never[] = {"\xFF\xFE\xFD never", nullptr};

ZvImgCodec$ Made(ZvStream$& stream, const char* extension) {
    s_seen.encoder = extension;
    return new TapeCodec(stream);
}

/// A registry with codecs of the test's own alone: "tape" for decoding, and one encoder each for the four formats.
class Tapes {
public:
    Tapes() : m_root(LoadedCodecs()), m_longest(ZvImgCodec::s_max_signature_length) {
        s_seen = {};
        for (ZvCodecType* type : {&m_tape, &m_bmp, &m_jpg, &m_png, &m_tif}) ZvCodecRegister entry(type);
    }
    ~Tapes() {
        ZvImgCodec::s_root = m_root;
        ZvImgCodec::s_max_signature_length = m_longest;
    }

private:
    ZvCodecType* m_root;
    int m_longest;
    ZvCodecType m_tape{"tape", s_tape, "*.tape", [](ZvStream$& s) { return Made(s, "tape"); }, nullptr};
    ZvCodecType m_bmp{"bmp", s_never, "*.bmp", [](ZvStream$& s) { return Made(s, "bmp"); }, nullptr};
    ZvCodecType m_jpg{"jpg", s_never, "*.jpg", [](ZvStream$& s) { return Made(s, "jpg"); }, nullptr};
    ZvCodecType m_png{"png", s_never, "*.png", [](ZvStream$& s) { return Made(s, "png"); }, nullptr};
    ZvCodecType m_tif{"tif", s_never, "*.tif", [](ZvStream$& s) { return Made(s, "tif"); }, nullptr};
};

ZvStream$ StreamOver(const std::string& text) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array =
        new ZvPrimArray<unsigned char>(text.size() + 1, reinterpret_cast<const unsigned char*>(text.c_str()));
    return new ZvMemoryStream(array);
}

const std::string GoodTape = "TAPE2abcd and more than the greatest signature", BadTape = "TAPEX and more than the greatest signature",
                  NoTape = "nothing that anybody recognises, however long it is";

std::string RowOf(const ZvImage& image) { return {reinterpret_cast<const char*>(image.GetRow(0)), static_cast<size_t>(image.GetWidth()) * 2}; }

std::string MessageOf(const std::function<void()>& load) {
    try {
        load();
    } catch (ZvImageUnloadedException& e) {
        return e.What()->CStr();
    }
    return "no exception";
}

ZvImage$ Something() { return new ZvImage(2, 1, 1, 8, 0, nullptr, 0, true); }

std::string ContentOf(const std::string& path) {
    const std::vector<unsigned char> bytes = FileBytes(path);
    return {bytes.begin(), bytes.end()};
}

}

ZV_DEFINE_CLASS(TapeCodec, (ZvImgCodec))

TEST(ZvImageFiles, PathIsLoadedThroughTheDecoderOfItsContent) {
    const Tapes tapes;
    const Folder folder;
    WriteFile(folder / "picture.with.dots.bmp", GoodTape);
    const ZvImage$ image = new ZvImage((folder / "picture.with.dots.bmp").c_str());
    EXPECT_EQ(image->GetWidth(), 2);
    EXPECT_EQ(image->GetDepth(), 16);
    EXPECT_EQ(image->GetSampleType(), 4);
    EXPECT_EQ(RowOf(*image), "abcd");
    EXPECT_EQ(image->Realize(65535.0f), 1.0f);
    // Whatever else is given is ignored.
    const ZvImage$ again = new ZvImage((folder / "picture.with.dots.bmp").c_str(), 1, "two", 3.0);
    EXPECT_TRUE(again->Equals(image.Get()));
}

TEST(ZvImageFiles, UnreadablePathLeavesAnEmptyImage) {
    const Tapes tapes;
    const ZvImage$ image = new ZvImage("/no/such/folder/picture.png");
    EXPECT_EQ(image->GetBaseAddress(), nullptr);
    EXPECT_EQ(image->GetWidth(), 0);
    const Folder folder;
    std::filesystem::create_directory(folder / "picture.png");
    const ZvImage$ directory = new ZvImage((folder / "picture.png").c_str());
    EXPECT_EQ(directory->GetBaseAddress(), nullptr);
    EXPECT_FALSE(directory->Load((folder / "picture.png").c_str()));
}

TEST(ZvImageFiles, FileThatNoCodecRecognisesIsTold) {
    const Tapes tapes;
    const Folder folder;
    WriteFile(folder / "picture.tape", NoTape);
    EXPECT_EQ(MessageOf([&] { ZvImage$(new ZvImage((folder / "picture.tape").c_str())); }), "unrecognized image file extension");
}

TEST(ZvImageFiles, FileThatDoesNotDecodeIsTold) {
    const Tapes tapes;
    const Folder folder;
    WriteFile(folder / "picture.tape", BadTape);
    EXPECT_EQ(MessageOf([&] { ZvImage$(new ZvImage((folder / "picture.tape").c_str())); }), "decode error");
}

TEST(ZvImageFiles, StreamIsLoadedFromWhereItStands) {
    const Tapes tapes;
    ZvStream$ stream = StreamOver("before" + GoodTape);
    stream->Seekg(6, ZvStream::Begin);
    const ZvImage$ image = new ZvImage(stream);
    EXPECT_EQ(RowOf(*image), "abcd");
    EXPECT_EQ(image->Realize(65535.0f), 1.0f);
    stream->Seekg(6, ZvStream::Begin);
    EXPECT_EQ(RowOf(*ZvImage$(new ZvImage(stream, "ignored", 7))), "abcd");
}

TEST(ZvImageFiles, EveryFailureOfAStreamIsADecodeError) {
    const Tapes tapes;
    for (const std::string& text : {NoTape, BadTape, std::string()}) {
        ZvStream$ stream = StreamOver(text);
        EXPECT_EQ(MessageOf([&] { ZvImage$(new ZvImage(stream)); }), "decode error") << text;
    }
}

TEST(ZvImageFiles, LoadAnswersFalseForEveryFailure) {
    const Tapes tapes;
    const Folder folder;
    WriteFile(folder / "good", GoodTape);
    WriteFile(folder / "bad.tape", BadTape);
    WriteFile(folder / "none.tape", NoTape);
    const ZvImage$ image = new ZvImage;
    EXPECT_FALSE(image->Load((folder / "missing.tape").c_str()));
    EXPECT_FALSE(image->Load((folder / "bad.tape").c_str()));
    EXPECT_FALSE(image->Load((folder / "none.tape").c_str()));
    EXPECT_TRUE(image->Load((folder / "good").c_str()));
    EXPECT_EQ(RowOf(*image), "abcd");
    EXPECT_EQ(image->Realize(65535.0f), 1.0f);
}

TEST(ZvImageFiles, LoadOfAStream) {
    const Tapes tapes;
    const ZvImage$ image = new ZvImage;
    ZvStream$ good = StreamOver(GoodTape), bad = StreamOver(BadTape), none = StreamOver(NoTape);
    EXPECT_FALSE(image->Load(bad));
    EXPECT_FALSE(image->Load(none));
    EXPECT_TRUE(image->Load(good));
    EXPECT_EQ(RowOf(*image), "abcd");
}

TEST(ZvImageFiles, SaveTakesTheExtensionOfThePath) {
    const Tapes tapes;
    const Folder folder;
    const ZvImage$ image = Something();
    EXPECT_TRUE(image->Save((folder / "a.b.TiF").c_str(), nullptr));
    EXPECT_EQ(s_seen.encoder, "tif");
    EXPECT_EQ(s_seen.image, image.Get());
    EXPECT_EQ(s_seen.optionCount, 0);
    EXPECT_FALSE(s_seen.hasArrays);
    EXPECT_EQ(ContentOf(folder / "a.b.TiF"), "encoded");
}

TEST(ZvImageFiles, SaveTakesTheFormatFromItsOption) {
    const Tapes tapes;
    const Folder folder;
    const char* end = nullptr;
    EXPECT_TRUE(Something()->Save((folder / "picture.dat").c_str(), "format", "png", end));
    EXPECT_EQ(s_seen.encoder, "png");
    EXPECT_EQ(s_seen.optionCount, 1);
    EXPECT_EQ(s_seen.names, std::vector<std::string>{"format"});
    EXPECT_EQ(s_seen.values, std::vector<std::string>{"png"});
}

TEST(ZvImageFiles, TheLastFormatWinsAndAllPairsReachTheCodec) {
    const Tapes tapes;
    const Folder folder;
    const char* end = nullptr;
    EXPECT_TRUE(Something()->Save((folder / "picture.tif").c_str(), "quality", "90", "format", "png", "Format", "tif", "format", "bmp", "x", "", end));
    EXPECT_EQ(s_seen.encoder, "bmp");
    EXPECT_EQ(s_seen.optionCount, 5);
    EXPECT_TRUE(s_seen.hasArrays);
    EXPECT_EQ(s_seen.names, (std::vector<std::string>{"quality", "format", "Format", "format", "x"}));
    EXPECT_EQ(s_seen.values, (std::vector<std::string>{"90", "png", "tif", "bmp", ""}));
}

TEST(ZvImageFiles, FailedSaveHasEmptiedTheFile) {
    const Tapes tapes;
    const Folder folder;
    WriteFile(folder / "picture.unknown", "what was there before");
    EXPECT_FALSE(Something()->Save((folder / "picture.unknown").c_str(), nullptr));
    EXPECT_TRUE(std::filesystem::exists(folder / "picture.unknown"));
    EXPECT_EQ(ContentOf(folder / "picture.unknown"), "");
    EXPECT_EQ(s_seen.encoder, "");
}

TEST(ZvImageFiles, SaveWithoutADotAndWithoutAFormatFails) {
    const Tapes tapes;
    const Folder folder;
    std::filesystem::create_directory(folder / "sub");
    EXPECT_FALSE(Something()->Save((folder / "sub/picture").c_str(), nullptr));
    const char* end = nullptr;
    EXPECT_TRUE(Something()->Save((folder / "sub/picture").c_str(), "format", "jpg", end));
    EXPECT_EQ(s_seen.encoder, "jpg");
}

TEST(ZvImageFiles, SaveAnswersWhatTheCodecAnswers) {
    const Tapes tapes;
    const Folder folder;
    s_seen.answer = false;
    EXPECT_FALSE(Something()->Save((folder / "a.png").c_str(), nullptr));
    ZvStream$ stream = StreamOver(std::string(64, ' '));
    EXPECT_FALSE(Something()->Save(stream, ZvImage::PNG));
    s_seen.answer = true;
    EXPECT_TRUE(Something()->Save(stream, ZvImage::PNG));
    // The stream's own state is not looked at: what cannot be opened is the codec's affair.
    EXPECT_TRUE(Something()->Save("/no/such/folder/a.png", nullptr));
}

TEST(ZvImageFiles, FormatsOfAStreamHaveTheirExtensions) {
    const Tapes tapes;
    const struct { ZvImage::Format format; const char* extension; } rows[] = {
        {ZvImage::BMP, "bmp"}, {ZvImage::JPG, "jpg"}, {ZvImage::PNG, "png"}, {ZvImage::TIF, "tif"},
    };
    for (const auto& row : rows) {
        ZvStream$ stream = StreamOver(std::string(64, ' '));
        EXPECT_TRUE(Something()->Save(stream, row.format));
        EXPECT_EQ(s_seen.encoder, row.extension);
        EXPECT_EQ(s_seen.optionCount, 0);
        EXPECT_FALSE(s_seen.hasArrays);
        EXPECT_EQ(stream->Tellp(), 7);
    }
}

TEST(ZvImageFiles, AnyOtherFormatIsRefused) {
    const Tapes tapes;
    for (const int format : {4, -1, 100}) {
        ZvStream$ stream = StreamOver(std::string(64, ' '));
        EXPECT_FALSE(Something()->Save(stream, static_cast<ZvImage::Format>(format))) << format;
        EXPECT_EQ(stream->Tellp(), 0);
    }
    EXPECT_EQ(s_seen.encoder, "");
}
