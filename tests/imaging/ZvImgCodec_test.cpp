#include <zvc/zvc.h>

#include "../modules/TestCodec.h"
#include "../support/Codecs.h"
#include "../support/Folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

class CodecOfTests : public TestCodec {
    ZV_DECLARE_CLASS(CodecOfTests)
    using TestCodec::TestCodec;
    ZvStream* Stream() const { return m_stream.Get(); }
};

int s_made = 0;
ZvImgCodec$ Make(ZvStream$& stream) {
    ++s_made;
    return new CodecOfTests(stream);
}

const char* s_none[] = {nullptr};
const char* s_abcd[] = {"ABCD", nullptr};
const char* s_two[] = {"12345678", "ABCDEFGH", nullptr};

ZvCodecType Type(const char** signatures, const char* extensions, ZvCodecType::CreateFunction create = &Make) {
    return ZvCodecType("test", signatures, extensions, create, nullptr);
}

/// The registry as it was, after a test that adds to it.
class Registry {
public:
    Registry() : m_root(LoadedCodecs()), m_longest(ZvImgCodec::s_max_signature_length) {}
    ~Registry() {
        ZvImgCodec::s_root = m_root;
        ZvImgCodec::s_max_signature_length = m_longest;
    }

private:
    ZvCodecType* m_root;
    int m_longest;
};

ZvStream$ Bytes(const std::string& text) {
    ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> array = new ZvPrimArray<unsigned char>(text.size() + 1, nullptr);
    std::memcpy(array->GetBaseAddress(), text.data(), text.size());
    return new ZvMemoryStream(array);
}

/// A folder with a copy of the program that asks for codecs.
class ScanFolder : public Folder {
public:
    ScanFolder() { std::filesystem::copy_file(BinFolder() + "codec_scan", *this / "codec_scan"); }

    void Put(const std::string& plugin, const std::string& as) const {
        std::filesystem::copy_file(BinFolder() + plugin + ".so", *this / as);
    }
    std::string Ask(const std::string& arguments) const { return RunShell("cd / && " + Path() + "/codec_scan " + arguments).output; }
};

}

ZV_DEFINE_CLASS(CodecOfTests, (ZvImgCodec))

TEST(ZvCodecType, LengthIsThatOfTheLongestSignature) {
    static const char* s_mixed[] = {"AB", "ABCDE", "ABC", nullptr};
    EXPECT_EQ(Type(s_mixed, "").signatureLength, 5);
    EXPECT_EQ(Type(s_none, "").signatureLength, 0);
}

TEST(ZvCodecType, KeepsWhatItIsGiven) {
    const auto registrar = reinterpret_cast<ZvCodecRegister*>(0x1000);
    ZvCodecType type("name", s_abcd, "*.x", &Make, registrar);
    EXPECT_STREQ(type.name, "name");
    EXPECT_EQ(type.signatures, s_abcd);
    EXPECT_STREQ(type.extensions, "*.x");
    EXPECT_EQ(type.create, &Make);
    EXPECT_EQ(type.registrar, registrar);
}

TEST(ZvCodecType, ConstructionLeavesTheLinkAlone) {
    // Static storage, whose bytes count before the object is there.
    alignas(ZvCodecType) static unsigned char s_place[sizeof(ZvCodecType)];
    auto* type = new (s_place) ZvCodecType("first", s_abcd, "*.x", &Make, nullptr);
    EXPECT_EQ(type->next, nullptr);
}

TEST(ZvCodecType, IsCopiedAndMoved) {
    static_assert(std::is_copy_constructible_v<ZvCodecType> && std::is_copy_assignable_v<ZvCodecType>);
    static_assert(std::is_move_constructible_v<ZvCodecType> && std::is_move_assignable_v<ZvCodecType>);
    static_assert(std::is_polymorphic_v<ZvCodecType> && !std::has_virtual_destructor_v<ZvCodecType>);
    static ZvCodecType s_type("name", s_two, "*.x", &Make, nullptr);
    ZvCodecType copy(s_type);
    EXPECT_EQ(copy.signatureLength, 8);
    ZvCodecType other("other", s_abcd, "*.y", nullptr, nullptr);
    other = s_type;
    EXPECT_STREQ(other.name, "name");
    EXPECT_EQ(other.create, &Make);
}

TEST(ZvCodecType, WithoutSignatureAnswersEverything) {
    const ZvCodecType type = Type(s_none, "");
    EXPECT_TRUE(type.CheckSignature("anything"));
    EXPECT_TRUE(type.CheckSignature(""));
    EXPECT_TRUE(type.CheckSignature(nullptr));
}

TEST(ZvCodecType, ComparesTheFirstBytesWithEachSignature) {
    const ZvCodecType type = Type(s_two, "");
    EXPECT_TRUE(type.CheckSignature("12345678 and more"));
    EXPECT_TRUE(type.CheckSignature("ABCDEFGH"));
    EXPECT_FALSE(type.CheckSignature("ABCDEFGh"));
    EXPECT_FALSE(type.CheckSignature("1234567x"));
    EXPECT_FALSE(type.CheckSignature(nullptr));
}

TEST(ZvCodecType, ShortSignatureIsComparedWithWhatLiesBehindIt) {
    static const char s_short[] = {'A', 'B', '\0', 'Q'};
    static const char* s_mixed[] = {s_short, "WXYZ", nullptr};
    const ZvCodecType type = Type(s_mixed, "");
    EXPECT_TRUE(type.CheckSignature("AB\0Q"));
    EXPECT_FALSE(type.CheckSignature("AB\0R"));
    EXPECT_FALSE(type.CheckSignature("ABCQ"));
    EXPECT_TRUE(type.CheckSignature("WXYZ"));
}

TEST(ZvCodecType, EmptyLengthSkipsTheComparison) {
    ZvCodecType type = Type(s_abcd, "");
    type.signatureLength = 0;
    EXPECT_FALSE(type.CheckSignature("ABCD"));
    type.signatureLength = -1;
    EXPECT_FALSE(type.CheckSignature("ABCD"));
    static const char* s_empty[] = {"", nullptr};
    EXPECT_FALSE(Type(s_empty, "").CheckSignature("ABCD"));
}

TEST(ZvCodecType, CheckExtensionFindsTheWholeWordInAnyCase) {
    struct {
        const char* list;
        const char* extension;
        bool found;
    } const cases[] = {
        {"*.jpg", "JPG", true},          {"*.JPG", "jpg", true},           {".jpg", "jpg", true},
        {".jpg", "jp", false},           {".jp", "jpg", false},            {".jpg", "jpgx", false},
        {"*.jpg;*.jpeg", "jpeg", true},  {"*.jpg;*.jpeg", "jpg", true},    {"*.jpg;*.jpeg", "jpe", false},
        {"JPEG (*.jpg)|*.jpg", "jpg", true}, {"jpg", "jpg", false},        {"", "jpg", false},
        {nullptr, "jpg", false},         {"*.jpg", "", false},             {"*.", "", true},
        {"*.;*.jpg", "", true},          {"*.jpg.", "", true},             {"*.tar.gz", "gz", true},
        {"*.tar.gz", "tar", true},       {"*.tar.gz", "tar.gz", false},    {"*.mp3", "MP3", true},
        {"*.jpg", "jqf", false},         {"*.ab", "ba", false},            {"*.jpg", ".jpg", false},
        {"*.j_g", "j", true},            {"*.j_g", "j_g", false},          {"*.*", "", true},
        {"*.az", "AZ", true},            {"*.a{", "a[", false},            {"*.jpg", "jpg ", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Type(s_none, c.list).CheckExtension(c.extension), c.found) << (c.list ? c.list : "null") << " " << c.extension;
}

TEST(ZvCodecRegister, PutsTheTypeAtTheHead) {
    Registry registry;
    ZvCodecType* before = ZvImgCodec::s_root;
    ZvCodecType first = Type(s_abcd, "*.a"), second = Type(s_none, "*.b");
    ZvCodecRegister a(&first), b(&second);
    EXPECT_EQ(ZvImgCodec::s_root, &second);
    EXPECT_EQ(second.next, &first);
    EXPECT_EQ(first.next, before);
    static_assert(std::is_empty_v<ZvCodecRegister>);
    static_assert(std::is_convertible_v<ZvCodecType*, ZvCodecRegister>);
}

TEST(ZvCodecRegister, RaisesTheGreatestLength) {
    Registry registry;
    ZvImgCodec::s_max_signature_length = 4;
    ZvCodecType shorter = Type(s_abcd, ""), longer = Type(s_two, ""), none = Type(s_none, "");
    ZvCodecRegister a(&shorter);
    EXPECT_EQ(ZvImgCodec::s_max_signature_length, 4);
    ZvCodecRegister b(&longer);
    EXPECT_EQ(ZvImgCodec::s_max_signature_length, 8);
    ZvCodecRegister c(&none);
    EXPECT_EQ(ZvImgCodec::s_max_signature_length, 8);
}

TEST(ZvImgCodec, DecoderComesFromTheContentAlone) {
    Registry registry;
    ZvCodecType type = Type(s_abcd, "*.test");
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("ABCD and more"), other = Bytes("nothing that is known");
    EXPECT_EQ(ZvObject$(ZvImgCodec::GetDecoder(stream, "png"))->GetType(), &CodecOfTests::s_type);
    EXPECT_EQ(ZvObject$(ZvImgCodec::GetDecoder(stream, nullptr))->GetType(), &CodecOfTests::s_type);
    EXPECT_FALSE(ZvImgCodec::GetDecoder(other, "test"));
}

TEST(ZvImgCodec, StreamStandsWhereItStoodAfterGetDecoder) {
    Registry registry;
    ZvCodecType type = Type(s_abcd, "");
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("xxxxxABCD and quite some more of it");
    stream->Seekg(5, ZvStream::Begin);
    EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr));
    EXPECT_EQ(stream->Tellg(), 5);
    stream->Seekg(1, ZvStream::Begin);
    EXPECT_FALSE(ZvImgCodec::GetDecoder(stream, nullptr));
    EXPECT_EQ(stream->Tellg(), 1);
}

TEST(ZvImgCodec, NewestTypeIsAskedFirst) {
    Registry registry;
    ZvCodecType old = Type(s_abcd, "*.x", [](ZvStream$&) { return ZvImgCodec$(); }), young = Type(s_abcd, "*.x");
    ZvCodecRegister a(&old), b(&young);
    ZvStream$ stream = Bytes("ABCDEFGHIJKLMNOP");
    EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr));
    EXPECT_TRUE(ZvImgCodec::GetEncoder(stream, "x"));
}

TEST(ZvImgCodec, TypeWithoutSignatureShadowsAllEarlierOnes) {
    Registry registry;
    ZvCodecType earlier = Type(s_abcd, "", [](ZvStream$&) { return ZvImgCodec$(); }), any = Type(s_none, "");
    ZvCodecRegister a(&earlier), b(&any);
    for (const char* text : {"ABCDEFGHIJKL", "BM", "\x89PNG\r\n\x1a\n.....", ""}) {
        ZvStream$ stream = Bytes(text);
        EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr)) << text;
    }
}

TEST(ZvImgCodec, TypeWithoutACreatingFunctionIsPassedOver) {
    Registry registry;
    ZvCodecType works = Type(s_abcd, "*.x"), lacks = Type(s_abcd, "*.x", nullptr);
    ZvCodecRegister a(&works), b(&lacks);
    ZvStream$ stream = Bytes("ABCDEFGHIJKLMNOP");
    EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr));
    EXPECT_TRUE(ZvImgCodec::GetEncoder(stream, "x"));
}

TEST(ZvImgCodec, TypeLongerThanTheGreatestLengthIsPassedOver) {
    Registry registry;
    ZvCodecType type = Type(s_abcd, "");
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("ABCDEFGHIJKLMNOP");
    ZvImgCodec::s_max_signature_length = 3;
    EXPECT_FALSE(ZvImgCodec::GetDecoder(stream, nullptr));
    ZvImgCodec::s_max_signature_length = 4;
    EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr));
}

TEST(ZvImgCodec, APluginsOwnSignatureCheckIsAsked) {
    struct Own : ZvCodecType {
        using ZvCodecType::ZvCodecType;
        bool CheckSignature(const char* bytes) const override { return std::memcmp(bytes + 1, "ello", 4) == 0; }
    };
    Registry registry;
    Own type("own", s_two, "", &Make, nullptr);
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("Hello, long enough");
    EXPECT_TRUE(ZvImgCodec::GetDecoder(stream, nullptr));
}

TEST(ZvImgCodec, ShortStreamIsNoMatch) {
    Registry registry;
    ZvCodecType type = Type(s_two, "");
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("ABCDEFG");
    EXPECT_FALSE(ZvImgCodec::GetDecoder(stream, nullptr));
}

TEST(ZvImgCodec, EncoderComesFromTheExtension) {
    Registry registry;
    ZvCodecType type = Type(s_abcd, "*.test;*.tst");
    ZvCodecRegister entry(&type);
    ZvStream$ stream = Bytes("");
    EXPECT_EQ(ZvObject$(ZvImgCodec::GetEncoder(stream, "TST"))->GetType(), &CodecOfTests::s_type);
    EXPECT_FALSE(ZvImgCodec::GetEncoder(stream, "nobody"));
    EXPECT_FALSE(ZvImgCodec::GetEncoder(stream, nullptr));
    EXPECT_FALSE(ZvImgCodec::GetEncoder(stream, "tes"));
}

TEST(ZvImgCodec, PassesOnToItsStream) {
    ZvStream$ stream = Bytes("0123456789");
    ZvHandle<CodecOfTests, ZvImgCodec$> codec = new CodecOfTests(stream);
    EXPECT_EQ(codec->Stream(), stream.Get());
    char text[3] = {};
    EXPECT_EQ(codec->Read(text, 2), 2);
    EXPECT_STREQ(text, "01");
    codec->Seekg(5, ZvStream::Begin);
    EXPECT_EQ(codec->Tellg(), 5);
    EXPECT_EQ(stream->Tellg(), 5);
    EXPECT_EQ(codec->Write("xy", 2), 2);
    codec->Seekp(-1, ZvStream::Current);
    EXPECT_EQ(codec->Tellp(), 6);
    codec->Flush();
    EXPECT_FALSE(codec->Fail());
    codec->Seekg(-1, ZvStream::Begin);
    EXPECT_TRUE(codec->Fail());
}

TEST(ZvImgCodec, CopiesShareTheStream) {
    ZvStream$ stream = Bytes("0123456789"), other = Bytes("abc");
    CodecOfTests codec(stream), copy(codec), assigned(other);
    EXPECT_EQ(copy.Stream(), stream.Get());
    assigned = codec;
    EXPECT_EQ(assigned.Stream(), stream.Get());
}

TEST(ZvImgCodec, IsReflectedAndAbstract) {
    EXPECT_EQ(*ZvImgCodec::s_type.GetName(), "ZvImgCodec");
    EXPECT_EQ(ZvSystem::FindType("ZvImgCodec"), &ZvImgCodec::s_type);
    EXPECT_EQ(ZvImgCodec::s_type.CreateObject(), nullptr);
    EXPECT_NE(ZvImgCodec::GetConstructorMap(), nullptr);
    EXPECT_NE(ZvImgCodec::GetFieldMap(), nullptr);
    EXPECT_NE(ZvImgCodec::GetMethodMap(), nullptr);
    static_assert(std::is_abstract_v<ZvImgCodec>);
    ZvImgCodec::Shutdown();
}

TEST(ZvImgCodec, TakesTheDefaultsOfObjects) {
    ZvStream$ stream = Bytes("");
    ZvHandle<CodecOfTests, ZvImgCodec$> a = new CodecOfTests(stream), b = new CodecOfTests(stream);
    EXPECT_TRUE(a->Equals(a.Get()));
    EXPECT_FALSE(a->Equals(b.Get()));
    EXPECT_EQ(a->Clone(), nullptr);
    EXPECT_EQ(a->GetHashCode(), reinterpret_cast<size_t>(a.Get()) >> 4);
    EXPECT_EQ(*a->ToString(), "CodecOfTests");
}

TEST(ZvCodecException, CarriesItsMessage) {
    ZvCodecException e("no such picture");
    EXPECT_EQ(*e.What(), "no such picture");
    EXPECT_TRUE(e.IsKindOf(&ZvException::s_type));
    EXPECT_EQ(*ZvCodecException::s_type.GetName(), "ZvCodecException");
    EXPECT_THROW(throw ZvCodecException("x"), ZvException);
}

// ---- the search for plug-ins ----

TEST(CodecScan, WithoutPluginsThereIsNoCodecAndTheSearchIsRepeated) {
    ScanFolder folder;
    WriteFile(folder / "shared.bin", "SHARED content");
    EXPECT_EQ(folder.Ask("decode=" + folder / "shared.bin" + " encode=shared list"), "null\nnull\nlongest 0\n");
    EXPECT_EQ(folder.Ask("decode=" + folder / "shared.bin" + " copy=" + BinFolder() + "plug_codec_a.so=" + folder / "late.dli" +
                         " decode=" + folder / "shared.bin"),
              "null\nCodecA\n");
}

TEST(CodecScan, LooksBesideTheProgramAndForTheExtensionAlone) {
    ScanFolder folder;
    folder.Put("plug_codec_a", "a.so");
    folder.Put("plug_codec_b", "b.dli.old");
    std::filesystem::create_directory(folder / "deeper");
    std::filesystem::copy_file(folder / "a.so", folder / "deeper/c.dli");
    EXPECT_EQ(folder.Ask("encode=shared list"), "null\nlongest 0\n");
    folder.Put("plug_codec_a", "a.dli");
    EXPECT_EQ(folder.Ask("encode=shared"), "CodecA\n");
}

TEST(CodecScan, TakesTheFilesInTheOrderOfTheirNamesAndAsksTheLastFirst) {
    ScanFolder folder;
    WriteFile(folder / "shared.bin", "SHARED content");
    folder.Put("plug_codec_b", "1.dli");
    folder.Put("plug_codec_a", "2.dli");
    EXPECT_EQ(folder.Ask("decode=" + folder / "shared.bin" + " list"),
              "CodecA\nsecond of a\nfirst of a\nsecond of b\nfirst of b\nlongest 6\n");
}

TEST(CodecScan, HappensOnceWhenItFindsAny) {
    ScanFolder folder;
    folder.Put("plug_codec_a", "a.dli");
    EXPECT_EQ(folder.Ask("encode=ownb copy=" + BinFolder() + "plug_codec_b.so=" + folder / "b.dli" + " encode=ownb encode=owna"),
              "null\nnull\nCodecA\n");
}

TEST(CodecScan, FileThatCannotBeLoadedEndsItAndTheExceptionPasses) {
    ScanFolder folder;
    folder.Put("plug_codec_a", "a.dli");
    WriteFile(folder / "broken.dli", "no library at all");
    folder.Put("plug_codec_b", "c.dli");
    EXPECT_EQ(folder.Ask("encode=shared encode=shared encode=ownb list"),
              "unloaded broken.dli\nCodecA\nnull\nsecond of a\nfirst of a\nlongest 6\n");
    WriteFile(folder / "shared.bin", "SHARED content");
    EXPECT_EQ(folder.Ask("decode=" + folder / "shared.bin" + " decode=" + folder / "shared.bin"), "unloaded broken.dli\nCodecA\n");
}

TEST(CodecScan, NullExtensionDoesNotSearch) {
    ScanFolder folder;
    WriteFile(folder / "broken.dli", "no library at all");
    EXPECT_EQ(folder.Ask("'encode=(null)' encode=shared"), "null\nunloaded broken.dli\n");
}
