#include "zvc/remoting/ZvSharePrimArray.h"

#include "support/Bytes.h"
#include "support/Child.h"
#include "support/Coding.h"
#include "support/Leaks.h"
#include "zvc/platform/SharedMemory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <limits>
#include <string>
#include <unistd.h>

namespace {

namespace platform = zvc::platform;

using Doubles = ZvSharePrimArray<double>;
using Doubles$ = ZvHandle<Doubles, ZvArrayValue$>;

std::string Own(const std::string& name) { return "zvc-array-" + std::to_string(getpid()) + "-" + name; }
ZvString$ OwnText(const std::string& name) { return Text(Own(name)); }

/// What the constructor raises; "" for nothing.
template <class F>
std::string Raised(F construct) {
    try {
        construct();
    } catch (ZvSharedMemoryException& e) {
        return e.What()->CStr();
    }
    return "";
}

std::string Refused(int error) { return "CreateFileMapping(" + std::to_string(error) + ") error."; }

/// The definition of the array's type, its count and its name, as they stand in a stream.
std::string StreamOf(const std::string& count, const std::string& name) {
    const std::string type = "84879818" + ToHex("ZvSharePrimArray<double>") + "8b5a5643a006a001";
    const std::string length(1, static_cast<char>(name.size()));
    return type + count + "8487905a76537472696e678b5a5643a002a301000080" + "98" + ToHex(length + name);
}

Doubles$ DecodedFrom(const std::string& hex) { return ReadBack(hex, 1, ZvStreamingContext::TrackObjects)[0]; }

template <class T>
class EveryElement : public testing::Test {};
using Elements = testing::Types<bool, char, unsigned char, short, unsigned short, int, unsigned int, float, long long,
    unsigned long long, double, CG::vec2<int>, CG::vec2<float>, CG::vec3<int>, CG::vec3<float>, zvcolor, CG::vec2<double>,
    CG::vec4<int>, CG::vec4<float>, CG::rotation<float>, CG::vec3<double>, CG::vec4<double>, CG::rotation<double>,
    CG::mat3<float>, CG::mat4<float>, CG::mat3<double>, CG::mat4<double>>;
TYPED_TEST_SUITE(EveryElement, Elements);

template <class T> constexpr size_t Bytes = 0;
template <> constexpr size_t Bytes<bool> = 1;
template <> constexpr size_t Bytes<char> = 1;
template <> constexpr size_t Bytes<unsigned char> = 1;
template <> constexpr size_t Bytes<short> = 2;
template <> constexpr size_t Bytes<unsigned short> = 2;
template <> constexpr size_t Bytes<int> = 4;
template <> constexpr size_t Bytes<unsigned int> = 4;
template <> constexpr size_t Bytes<float> = 4;
template <> constexpr size_t Bytes<long long> = 8;
template <> constexpr size_t Bytes<unsigned long long> = 8;
template <> constexpr size_t Bytes<double> = 8;
template <> constexpr size_t Bytes<CG::vec2<int>> = 8;
template <> constexpr size_t Bytes<CG::vec2<float>> = 8;
template <> constexpr size_t Bytes<CG::vec3<int>> = 12;
template <> constexpr size_t Bytes<CG::vec3<float>> = 12;
template <> constexpr size_t Bytes<zvcolor> = 12;
template <> constexpr size_t Bytes<CG::vec2<double>> = 16;
template <> constexpr size_t Bytes<CG::vec4<int>> = 16;
template <> constexpr size_t Bytes<CG::vec4<float>> = 16;
template <> constexpr size_t Bytes<CG::rotation<float>> = 16;
template <> constexpr size_t Bytes<CG::vec3<double>> = 24;
template <> constexpr size_t Bytes<CG::vec4<double>> = 32;
template <> constexpr size_t Bytes<CG::rotation<double>> = 32;
template <> constexpr size_t Bytes<CG::mat3<float>> = 36;
template <> constexpr size_t Bytes<CG::mat4<float>> = 64;
template <> constexpr size_t Bytes<CG::mat3<double>> = 72;
template <> constexpr size_t Bytes<CG::mat4<double>> = 128;

}

TYPED_TEST(EveryElement, BlockHoldsTheBareElements) {
    using Array = ZvSharePrimArray<TypeParam>;
    unsigned char source[3 * Bytes<TypeParam>];
    for (size_t i = 0; i < sizeof source; ++i) source[i] = static_cast<unsigned char>(std::is_same_v<TypeParam, bool> ? i % 2 : i + 1);
    const Array array(OwnText("elements"), 3, reinterpret_cast<const TypeParam*>(source));
    EXPECT_EQ(array.Count(), 3u);
    const platform::Handle block = platform::SharedMemoryOpen(Own("elements").c_str());
    size_t size = 0;
    void* const view = platform::SharedMemoryMap(block, &size);
    EXPECT_EQ(size, 3 * Bytes<TypeParam>);
    EXPECT_EQ(std::string(static_cast<char*>(view), size), std::string(reinterpret_cast<char*>(source), sizeof source));
    platform::SharedMemoryUnmap(view);
    platform::CloseHandle(block);
}

TYPED_TEST(EveryElement, ClassIsReflectedAndGoesThroughAStream) {
    using Array = ZvSharePrimArray<TypeParam>;
    ZvType& type = Array::s_type;
    EXPECT_EQ(type.GetBaseType(), &ZvPrimArray<TypeParam>::s_type);
    EXPECT_EQ(type.GetSchema(), 1u);
    EXPECT_EQ(type.GetClassSpec(), 6u);
    EXPECT_TRUE(type.HasCodec());
    EXPECT_TRUE(type.TypeID() == typeid(TypeParam));
    EXPECT_EQ(ZvSystem::FindType(type.GetName()), &type);
    const ZvObject$ created = type.CreateObject();
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(created->GetType(), &type);

    const ZvObject$ sent = new Array(OwnText("stream"), 5, nullptr);
    const ZvHandle<Array, ZvArrayValue$> received =
        ReadBack(Written({sent}, ZvStreamingContext::TrackObjects)[0], 1, ZvStreamingContext::TrackObjects)[0];
    ASSERT_NE(received, nullptr);
    EXPECT_EQ(received->Count(), 5u);
    const auto lastByte = [](const ZvArrayValue$& a) { return static_cast<unsigned char*>(a->GetBaseAddress()) + 5 * sizeof(TypeParam) - 1; };
    *lastByte(received) = 1;
    EXPECT_EQ(*lastByte(sent), 1);
}

TEST(ZvSharePrimArray, NamesAreSpelledAsInFiles) {
    EXPECT_EQ(*ZvSharePrimArray<int>::s_type.GetName(), "ZvSharePrimArray<int>");
    EXPECT_EQ(*ZvSharePrimArray<bool>::s_type.GetName(), "ZvSharePrimArray<bool>");
    EXPECT_EQ(*ZvSharePrimArray<long long>::s_type.GetName(), "ZvSharePrimArray<__int64>");
    EXPECT_EQ(*ZvSharePrimArray<unsigned long long>::s_type.GetName(), "ZvSharePrimArray<unsigned __int64>");
    EXPECT_EQ(*ZvSharePrimArray<CG::vec2<float>>::s_type.GetName(), "ZvSharePrimArray<struct CG::vec2<float> >");
    EXPECT_EQ(*ZvSharePrimArray<zvcolor>::s_type.GetName(), "ZvSharePrimArray<struct zvcolor>");
}

TEST(ZvSharePrimArray, DefaultOneHasNothing) {
    const Doubles array;
    EXPECT_EQ(array.Count(), 0u);
    EXPECT_EQ(array.GetBaseAddress(), nullptr);
}

TEST(ZvSharePrimArray, FourDoublesAreAZeroedBlockOf32Bytes) {
    const Doubles array(OwnText("four"), 4, nullptr);
    EXPECT_EQ(array.Count(), 4u);
    for (unsigned int i = 0; i < 4; ++i) EXPECT_EQ(array[i], 0.0);
    const platform::Handle block = platform::SharedMemoryOpen(Own("four").c_str());
    size_t size = 0;
    platform::SharedMemoryUnmap(platform::SharedMemoryMap(block, &size));
    EXPECT_EQ(size, 32u);
    platform::CloseHandle(block);
}

TEST(ZvSharePrimArray, TakesTheElementsOfAnotherArray) {
    const double values[] = {1.5, -2.0, 3.25};
    const ZvPrimArray<double> source(3, values);
    const Doubles array(OwnText("source"), source);
    EXPECT_EQ(array.Count(), 3u);
    for (unsigned int i = 0; i < 3; ++i) EXPECT_EQ(array[i], values[i]);
    EXPECT_NE(array.GetBaseAddress(), source.GetBaseAddress());
}

TEST(ZvSharePrimArray, ElementsAreReadAndWrittenAsInTheBase) {
    Doubles array(OwnText("values"), 2, nullptr);
    const int number = 7;
    EXPECT_TRUE(array.SetValue(&number, ZvVtInt32, 1));
    double value = 0;
    EXPECT_TRUE(array.GetValue(&value, ZvVtDouble, 1));
    EXPECT_EQ(value, 7.0);
    EXPECT_EQ(array.GetAt(1), 7.0);
}

TEST(ZvSharePrimArray, TwoOfOneNameSeeEachOthersWrites) {
    Doubles one(OwnText("pair"), 4, nullptr), other(OwnText("pair"), 4, nullptr);
    one[2] = 1.5;
    EXPECT_EQ(other[2], 1.5);
    other[2] = 2.5;
    EXPECT_EQ(one[2], 2.5);
}

TEST(ZvSharePrimArray, CreationOverAnExistingNameWritesOverIt) {
    const double first[] = {1, 2, 3, 4}, second[] = {5, 6};
    const Doubles one(OwnText("over"), 4, first);
    const Doubles other(OwnText("over"), 2, second);
    EXPECT_EQ(other.Count(), 2u);
    EXPECT_EQ(one[0], 5.0);
    EXPECT_EQ(one[1], 6.0);
    EXPECT_EQ(one[2], 3.0);
    const Doubles third(OwnText("over"), 4, nullptr);        // no data: as the block has it
    EXPECT_EQ(third[1], 6.0);
}

TEST(ZvSharePrimArray, CreationFromElementsOfTheVeryBlockMovesThem) {
    double values[5000];
    for (int i = 0; i != 5000; ++i) values[i] = i;
    Doubles first(OwnText("moved"), 5000, values);
    Doubles second(OwnText("moved"), 4000, &first[1000]);
    for (int i = 0; i != 5000; ++i) ASSERT_EQ(first[i], i < 4000 ? i + 1000 : i);
}

TEST(ZvSharePrimArray, CountOfZeroRaises) {
    EXPECT_EQ(Raised([] { Doubles(OwnText("none"), 0, nullptr); }), Refused(EINVAL));
    EXPECT_EQ(Raised([] { Doubles(OwnText("none"), ZvPrimArray<double>()); }), Refused(EINVAL));
}

TEST(ZvSharePrimArray, CreationOverASmallerBlockReachesToTheEndOfItsPage) {
    Doubles block(OwnText("small"), 2, nullptr);
    const double values[] = {1, 2, 3, 4};
    const Doubles larger(OwnText("small"), 4, values);
    EXPECT_EQ(block[1], 2.0);
    EXPECT_EQ(larger[3], 4.0);
    Doubles page(OwnText("small"), 512, nullptr);
    page[511] = 5;
    EXPECT_EQ(page[3], 4.0);
}

TEST(ZvSharePrimArray, MoreElementsThanTheBlocksPagesHoldRaises) {
    const Doubles block(OwnText("small"), 2, nullptr);
    EXPECT_EQ(Raised([] { Doubles(OwnText("small"), 513, nullptr); }), Refused(EOVERFLOW));
    EXPECT_EQ(Raised([] { Doubles(OwnText("small"), ZvPrimArray<double>(513, nullptr)); }), Refused(EOVERFLOW));
    EXPECT_EQ(Raised([] { ZvSharePrimArray<float>(OwnText("small"), 1024, nullptr); }), "");
    EXPECT_EQ(Raised([] { ZvSharePrimArray<float>(OwnText("small"), 1025, nullptr); }), Refused(EOVERFLOW));
}

TEST(ZvSharePrimArray, SizeIsCutTo32BitsAndTheCountIsKept) {
    const size_t gigabytes4 = size_t(1) << 32;
    const ZvHandle<ZvSharePrimArray<char>, ZvArrayValue$> array = new ZvSharePrimArray<char>(OwnText("huge"), gigabytes4 + 16, nullptr);
    EXPECT_EQ(array->Count(), gigabytes4 + 16);
    const platform::Handle block = platform::SharedMemoryOpen(Own("huge").c_str());
    size_t size = 0;
    platform::SharedMemoryUnmap(platform::SharedMemoryMap(block, &size));
    platform::CloseHandle(block);
    EXPECT_EQ(size, 16u);
    // The count in a stream is cut as well: what the receiver has is what there is.
    const ZvHandle<ZvSharePrimArray<char>, ZvArrayValue$> received =
        ReadBack(Written({array}, ZvStreamingContext::TrackObjects)[0], 1, ZvStreamingContext::TrackObjects)[0];
    EXPECT_EQ(received->Count(), 16u);
    EXPECT_NE(received->GetBaseAddress(), nullptr);
}

TEST(ZvSharePrimArray, SizeThatIsCutToZeroRaises) {
    const size_t gigabytes4 = size_t(1) << 32;
    EXPECT_EQ(Raised([=] { Doubles(OwnText("cut"), gigabytes4 / 8, nullptr); }), Refused(EINVAL));
    EXPECT_EQ(platform::SharedMemoryOpen(Own("cut").c_str()), nullptr);
}

TEST(ZvSharePrimArray, DataThatTheCutBlockDoesNotHoldRaisesAndNothingIsOverrun) {
    const size_t gigabytes4 = size_t(1) << 32;
    const double one = 1;
    EXPECT_EQ(Raised([&] { Doubles(OwnText("overrun"), gigabytes4 / 8 + 1, &one); }), Refused(EOVERFLOW));
    EXPECT_NE(Raised([&] { Doubles(OwnText("overrun"), std::numeric_limits<size_t>::max(), &one); }), "");
    EXPECT_EQ(platform::SharedMemoryOpen(Own("overrun").c_str()), nullptr);
}

TEST(ZvSharePrimArray, StreamHoldsTheCountAndTheNameAlone) {
    const Doubles$ array = new Doubles(OwnText("encoded"), 4, nullptr);
    EXPECT_EQ(Written({array}, ZvStreamingContext::TrackObjects)[0], StreamOf("a004", Own("encoded")));
    const Doubles$ large = new Doubles(OwnText("large"), 300, nullptr);
    EXPECT_EQ(Written({large}, ZvStreamingContext::TrackObjects)[0], StreamOf("a12c01", Own("large")));
}

TEST(ZvSharePrimArray, DecodedOneSeesTheVerySameMemory) {
    const double values[] = {1, 2, 3, 4};
    const Doubles$ array = new Doubles(OwnText("decoded"), 4, values);
    const Doubles$ other = DecodedFrom(StreamOf("a004", Own("decoded")));
    EXPECT_EQ(other->Count(), 4u);
    EXPECT_EQ((*other)[3], 4.0);
    (*other)[3] = 5;
    EXPECT_EQ((*array)[3], 5.0);
    const Doubles$ fewer = DecodedFrom(StreamOf("a002", Own("decoded")));
    EXPECT_EQ(fewer->Count(), 2u);
    EXPECT_EQ((*fewer)[1], 2.0);
}

TEST(ZvSharePrimArray, DecodingANameThatIsGoneGivesTheCountAndNoData) {
    const Doubles$ array = DecodedFrom(StreamOf("a004", Own("gone")));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->Count(), 4u);
    EXPECT_EQ(array->GetBaseAddress(), nullptr);
}

TEST(ZvSharePrimArray, DecodingACountBeyondTheBlocksPagesGivesTheCountAndNoData) {
    const Doubles$ block = new Doubles(OwnText("lie"), 4, nullptr);
    const struct { const char* stream; unsigned int count; bool hasData; } cases[] = {
        {"a005", 5, true}, {"a10002", 512, true}, {"a10102", 513, false}, {"a3ffffffff", 0xFFFFFFFF, false}};
    for (const auto& c : cases) {
        const Doubles$ array = DecodedFrom(StreamOf(c.stream, Own("lie")));
        EXPECT_EQ(array->Count(), c.count);
        EXPECT_EQ(array->GetBaseAddress() != nullptr, c.hasData) << c.count;
    }
}

TEST(ZvSharePrimArray, DecodingANullNameOrNoTextGivesTheCountAndNoData) {
    const std::string head = "84879818" + ToHex("ZvSharePrimArray<double>") + "8b5a5643a006a001a004";
    for (const std::string& name : {std::string("80"), "8487" "8f" + ToHex("ZvInt32") + "8b5a5643a002a001" "a003"}) {
        const Doubles$ array = DecodedFrom(head + name);
        ASSERT_NE(array, nullptr);
        EXPECT_EQ(array->Count(), 4u);
        EXPECT_EQ(array->GetBaseAddress(), nullptr);
    }
}

TEST(ZvSharePrimArray, DecodingAgainLetsGoOfTheFirstBlock) {
    Doubles$ first = new Doubles(OwnText("first"), 4, nullptr), second = new Doubles(OwnText("second"), 4, nullptr);
    const Doubles$ array = new Doubles;
    for (const Doubles$& source : {first, second}) {
        ZvHandle<ZvPrimArray<unsigned char>, ZvArrayValue$> bytes = new ZvPrimArray<unsigned char>(1000, nullptr);
        ZvStream$ stream = new ZvMemoryStream(bytes);
        ZvBinaryCoder$ coder = new ZvBinaryCoder(new ZvStreamingContext(ZvStreamingContext::TrackObjects));
        source->Encode(stream, coder.Get());
        stream->Seekp(0, ZvStream::Begin);
        array->Decode(stream, coder.Get());
    }
    first = nullptr;
    EXPECT_EQ(platform::SharedMemoryOpen(Own("first").c_str()), nullptr);
    (*second)[0] = 3;
    EXPECT_EQ((*array)[0], 3.0);
}

TEST(ZvSharePrimArray, CloneIsAnIndependentHeapArray) {
    const double values[] = {1, 2, 3, 4};
    Doubles array(OwnText("clone"), 4, values);
    const ZvHandle<ZvPrimArray<double>, ZvArrayValue$> clone = ZvObject$(array.Clone());
    EXPECT_EQ(clone->GetType(), &ZvPrimArray<double>::s_type);
    EXPECT_EQ(clone->Count(), 4u);
    EXPECT_EQ((*clone)[3], 4.0);
    array[3] = 9;
    EXPECT_EQ((*clone)[3], 4.0);
}

TEST(ZvSharePrimArray, EachSideKeepsTheBlockAlive) {
    Doubles$ array = new Doubles(OwnText("alive"), 4, nullptr);
    Doubles$ other = DecodedFrom(StreamOf("a004", Own("alive")));
    (*array)[0] = 2;
    array = nullptr;
    EXPECT_EQ((*other)[0], 2.0);
    EXPECT_NE(DecodedFrom(StreamOf("a004", Own("alive")))->GetBaseAddress(), nullptr);
    other = nullptr;
    EXPECT_EQ(DecodedFrom(StreamOf("a004", Own("alive")))->GetBaseAddress(), nullptr);
}

TEST(ZvSharePrimArray, CopyIsAHeapBufferThatIsNotFreed) {
    const double values[] = {1, 2};
    Doubles array(OwnText("copied"), 2, values);
    const LeaksAllowed buffer;                              // handed to what ends views, which leaves it alone
    {
        const Doubles copy(array);
        EXPECT_EQ(copy.Count(), 2u);
        EXPECT_NE(copy.GetBaseAddress(), array.GetBaseAddress());
        EXPECT_EQ(copy[1], 2.0);
    }
    EXPECT_EQ(array[1], 2.0);                               // the handle is closed, the view is there still
    EXPECT_NE(platform::SharedMemoryOpen(Own("copied").c_str()), nullptr);
}

TEST(ZvSharePrimArray, AssignmentTakesValues) {
    const double values[] = {1, 2};
    const Doubles array(OwnText("assigned"), 2, values);
    {
        Doubles other;
        other = array;
        EXPECT_EQ(other.Count(), 2u);
        EXPECT_EQ(other.GetBaseAddress(), array.GetBaseAddress());
        EXPECT_EQ(Written({ZvObject$(new Doubles(OwnText("assigned"), 2, nullptr))}, ZvStreamingContext::TrackObjects)[0],
                  StreamOf("a002", Own("assigned")));
    }
    EXPECT_EQ(platform::SharedMemoryOpen(Own("assigned").c_str()), nullptr);      // the first destructor gave all back
}

TEST(ZvSharePrimArray, OtherProcessesSeeTheElements) {
    ZvProcessStartInfo$ info = ChildInfo("hold " + Own("child"));
    info->SetRedirectStandardInput(true);
    info->SetRedirectStandardOutput(true);
    const ZvProcess$ child = ZvProcess::Start(info);
    EXPECT_EQ(ReadUntil(child->GetStandardOutputStream(), "\n"), "held\n");
    const Doubles$ array = DecodedFrom(StreamOf("a004", Own("child")));
    ASSERT_NE(array->GetBaseAddress(), nullptr);
    EXPECT_EQ((*array)[2], 2.5);
    kill(static_cast<pid_t>(child->GetProcessId()), SIGKILL);
    EndOf(child);
    EXPECT_EQ((*array)[2], 2.5);                            // this end keeps it
}

TEST(ZvSharedMemoryException, IsAnExceptionWithItsMessage) {
    ZvSharedMemoryException e("words");
    EXPECT_EQ(*e.What(), "words");
    ZvSharedMemoryException copy(e);
    EXPECT_EQ(copy.What(), e.What());
    EXPECT_EQ(ZvSharedMemoryException::s_type.GetBaseType(), &ZvException::s_type);
    EXPECT_EQ(*ZvSharedMemoryException::s_type.GetName(), "ZvSharedMemoryException");
    EXPECT_EQ(ZvSharedMemoryException::s_type.CreateObject(), nullptr);
}
